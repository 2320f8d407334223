#include "platform/StatusNotifierHost.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

namespace {

/// Returns the name of the service that knows the hosts. Its interface has the same name.
QString watcherService()
{
    return QStringLiteral("org.kde.StatusNotifierWatcher");
}

QString watcherPath()
{
    return QStringLiteral("/StatusNotifierWatcher");
}

} // namespace

StatusNotifierHost::StatusNotifierHost(QObject* parent) : QObject(parent), m_bus(QDBusConnection::sessionBus())
{
    if (!m_bus.isConnected()) {
        m_isRegistered = false;
        return;
    }
    const auto* owners =
        new QDBusServiceWatcher(watcherService(), m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(owners, &QDBusServiceWatcher::serviceRegistered, this, &StatusNotifierHost::ask);
    connect(owners, &QDBusServiceWatcher::serviceUnregistered, this, [this] { setRegistered(false); });
    // The sender is not named, because naming it would wait for an answer of the bus. A false signal does no harm:
    // `ask` asks the watcher itself.
    for (const auto& signal :
         {QStringLiteral("StatusNotifierHostRegistered"), QStringLiteral("StatusNotifierHostUnregistered")})
        m_bus.connect({}, watcherPath(), watcherService(), signal, this,
                      SLOT(ask())); // QDBusConnection takes only names of slots
    ask();
}

void StatusNotifierHost::ask()
{
    QDBusMessage question = QDBusMessage::createMethodCall(
        watcherService(), watcherPath(), QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    question << watcherService() << QStringLiteral("IsStatusNotifierHostRegistered");
    auto* call = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        call->deleteLater();
        const QDBusPendingReply<QDBusVariant> answer = *call;
        setRegistered(answer.isValid() && answer.value().variant().toBool());
    });
}

void StatusNotifierHost::setRegistered(bool isRegistered)
{
    if (m_isRegistered == isRegistered)
        return;
    m_isRegistered = isRegistered;
    emit changed();
}
