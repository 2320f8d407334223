#pragma once

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>

#include <utility>

/// A message bus of the test's own.
class TestBus final
{
public:
    TestBus()
    {
        m_daemon.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--nosyslog"),
                        QStringLiteral("--print-address")});
        m_daemon.waitForReadyRead();
        m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
    }
    TestBus(const TestBus&) = delete;
    TestBus& operator=(const TestBus&) = delete;
    ~TestBus()
    {
        for (const QString& name : std::as_const(m_names))
            QDBusConnection::disconnectFromBus(name);
        m_daemon.terminate();
        m_daemon.waitForFinished();
    }

    /// Returns the connection called `name`, which is made at the first call. Each has a name of its own on the bus.
    QDBusConnection connection(const QString& name)
    {
        if (!m_names.contains(name))
            m_names.append(name);
        return QDBusConnection::connectToBus(m_address, name);
    }

    /// Waits until the messages that the connections have sent so far have arrived, and delivers them.
    void awaitTurn() const
    {
        for (const QString& name : m_names + m_names) { // all have sent before the second round, and then receive
            const auto ping =
                QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
                                               QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"));
            QDBusConnection(name).call(ping);
        }
        QCoreApplication::processEvents();
    }

private:
    QProcess m_daemon;
    QString m_address;
    QStringList m_names;
};
