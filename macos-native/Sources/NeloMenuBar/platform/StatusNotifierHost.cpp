#include "platform/StatusNotifierHost.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <algorithm>
#include <utility>

namespace {

/// Returns whether `service`, a connection on the bus, is the daemon of KDE.
bool isKdeDaemon(const QDBusConnectionInterface& bus, const QString& service)
{
    const QStringList names{QStringLiteral("org.kde.kded5"), QStringLiteral("org.kde.kded6")};
    return std::any_of(names.begin(), names.end(),
                       [&](const QString& name) { return bus.serviceOwner(name).value() == service; });
}

/// Returns whether `name` is that of a host.
bool isHostName(const QString& name)
{
    return name.startsWith(QStringLiteral("org.kde.StatusNotifierHost-"));
}

/// Returns whether a host has its name on the bus.
bool hasHostName(const QDBusConnectionInterface& bus)
{
    const QStringList names = bus.registeredServiceNames();
    return std::any_of(names.begin(), names.end(), isHostName);
}

} // namespace

StatusNotifierHost::StatusNotifierHost(QDBusConnection bus, QObject* parent) : QObject(parent), m_bus(std::move(bus))
{
    if (!m_bus.isConnected()) {
        m_state = State{};
        return;
    }
    // The names of the watcher and of hosts; the bus filters by whole parts of names only.
    const auto* owners =
        new QDBusServiceWatcher(QStringLiteral("org.kde*"), m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(owners, &QDBusServiceWatcher::serviceOwnerChanged, this, [this](const QString& name) {
        if (name == StatusNotifierWatcher::service || isHostName(name))
            ask();
    });
    // The sender is not named, because naming it would wait for an answer of the bus. A false signal does no harm:
    // `ask` asks the watcher itself.
    for (const auto& signal :
         {QStringLiteral("StatusNotifierHostRegistered"), QStringLiteral("StatusNotifierHostUnregistered")})
        m_bus.connect({}, StatusNotifierWatcher::path, StatusNotifierWatcher::service, signal, this,
                      SLOT(ask())); // QDBusConnection takes only names of slots
    ask();
}

void StatusNotifierHost::ask()
{
    QDBusMessage question =
        QDBusMessage::createMethodCall(StatusNotifierWatcher::service, StatusNotifierWatcher::path,
                                       QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    question << StatusNotifierWatcher::service << QStringLiteral("IsStatusNotifierHostRegistered");
    m_question = std::make_unique<QDBusPendingCallWatcher>(m_bus.asyncCall(question));
    connect(m_question.get(), &QDBusPendingCallWatcher::finished, this, [this] {
        const State state = stateAfter(*m_question);
        if (std::exchange(m_state, state) != state)
            emit changed();
    });
}

StatusNotifierHost::State StatusNotifierHost::stateAfter(const QDBusPendingCall& question) const
{
    const QDBusPendingReply<QDBusVariant> answer = question;
    const QDBusConnectionInterface* bus = m_bus.interface();
    if (!answer.isValid() || bus == nullptr)
        return {};
    const QString watcher = answer.reply().service();
    const bool isKde = isKdeDaemon(*bus, watcher);
    // KDE's daemon tells of a host even while there is none.
    const bool isRegistered = answer.value().variant().toBool() && (!isKde || hasHostName(*bus));
    return {isRegistered, isKde, watcher};
}
