#pragma once

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QObject>
#include <QString>

#include <memory>
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
    explicit StatusNotifierHost(QDBusConnection bus, QObject* parent = nullptr);

    /// Returns whether there is such a host, or nothing until the first answer has come.
    std::optional<bool> isRegistered() const { return m_state ? std::optional(m_state->isRegistered) : std::nullopt; }

    /// Returns whether the host is that of KDE, which opens an item's menu when the item refuses to be activated.
    bool isKde() const { return m_state && m_state->isKde; }

signals:
    /// The answers are others, or another watcher gives them, which knows no items yet.
    void changed();

private:
    struct State
    {
        bool isRegistered = false;
        bool isKde = false;
        QString watcher; // its connection on the bus

        bool operator==(const State&) const = default;
    };

    Q_SLOT void ask();
    State stateAfter(const QDBusPendingCall& question) const;

    QDBusConnection m_bus;
    std::unique_ptr<QDBusPendingCallWatcher> m_question; // the latest one; the answers to others are out of date
    std::optional<State> m_state;
};
