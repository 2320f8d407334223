#include "support/TestBus.h"

#include <QCoreApplication>
#include <QDBusMessage>

#include <utility>

using namespace Qt::StringLiterals;

TestBus::TestBus()
{
    m_daemon.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--nosyslog"_s, u"--print-address"_s});
    m_daemon.waitForReadyRead();
    m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
}

TestBus::~TestBus()
{
    for (const QString& name : std::as_const(m_names))
        QDBusConnection::disconnectFromBus(name);
    m_daemon.terminate();
    m_daemon.waitForFinished();
}

QDBusConnection TestBus::connection(const QString& name)
{
    if (!m_names.contains(name))
        m_names.append(name);
    return QDBusConnection::connectToBus(m_address, name);
}

void TestBus::awaitTurn() const
{
    for (const QString& name : m_names + m_names) { // all have sent before the second round, and then receive
        const auto ping = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/"_s,
                                                         u"org.freedesktop.DBus.Peer"_s, u"Ping"_s);
        QDBusConnection(name).call(ping);
    }
    QCoreApplication::processEvents();
}
