#pragma once

#include <QDBusConnection>
#include <QProcess>

/// A message bus of the test's own.
class TestBus final
{
public:
    TestBus();
    TestBus(const TestBus&) = delete;
    TestBus& operator=(const TestBus&) = delete;
    ~TestBus();

    /// Returns the connection called `name`, which is made at the first call. Each has a name of its own on the bus.
    QDBusConnection connection(const QString& name);

    /// Waits until the messages that the connections have sent so far have arrived, and delivers them.
    void awaitTurn() const;

private:
    QProcess m_daemon;
    QString m_address;
    QStringList m_names;
};
