#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <optional>

/// The service on the session bus that knows the hosts and the items.
namespace StatusNotifierWatcher {

/// The name of the service. Its interface has the same name.
inline const QString service = QStringLiteral("org.kde.StatusNotifierWatcher");
inline const QString path = QStringLiteral("/StatusNotifierWatcher");

} // namespace StatusNotifierWatcher

/// Knows whether the desktop draws status items that programs describe over D-Bus. It asks without waiting, so that a
/// desktop that answers late or never does not delay the program. See "StatusNotifierItem" at freedesktop.org.
class StatusNotifierHost final : public QObject
{
    Q_OBJECT

public:
    explicit StatusNotifierHost(QObject* parent = nullptr);

    /// Returns whether there is such a host, or nothing until the first answer has come.
    std::optional<bool> isRegistered() const { return m_isRegistered; }

    /// Returns whether the host is that of KDE, which opens an item's menu when the item refuses to be activated.
    bool isKde() const { return m_isKde; }

signals:
    void changed();

private:
    Q_SLOT void ask();
    void setRegistered(bool isRegistered, bool isKde);

    QDBusConnection m_bus;
    std::optional<bool> m_isRegistered;
    bool m_isKde = false;
};
