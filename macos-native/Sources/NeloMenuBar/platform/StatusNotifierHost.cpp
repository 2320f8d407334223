#include "platform/StatusNotifierHost.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

StatusNotifierHost::StatusNotifierHost(QObject* parent) : QObject(parent), m_bus(QDBusConnection::sessionBus())
{
    if (!m_bus.isConnected()) {
        m_isRegistered = false;
        return;
    }
    const auto* owners =
        new QDBusServiceWatcher(StatusNotifierWatcher::service, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(owners, &QDBusServiceWatcher::serviceRegistered, this, &StatusNotifierHost::ask);
    connect(owners, &QDBusServiceWatcher::serviceUnregistered, this, [this] { setRegistered(false); });
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
