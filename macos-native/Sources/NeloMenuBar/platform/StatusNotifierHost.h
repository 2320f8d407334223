#pragma once

#include <QDBusConnection>
#include <QObject>

#include <optional>

/// Knows whether something draws the items that programs describe to it over D-Bus. It asks without waiting: a desktop
/// that is busy or stuck answers late or never, and delays nobody. See "StatusNotifierItem" at freedesktop.org.
class StatusNotifierHost final : public QObject
{
    Q_OBJECT

public:
    explicit StatusNotifierHost(QObject* parent = nullptr);

    /// Nothing while that is being asked.
    std::optional<bool> isRegistered() const { return m_isRegistered; }

signals:
    void changed();

private:
    Q_SLOT void ask();
    void setRegistered(bool isRegistered);

    QDBusConnection m_bus;
    std::optional<bool> m_isRegistered;
};
