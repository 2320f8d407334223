#pragma once

#include <QDBusVirtualObject>
#include <QList>
#include <QVariantMap>

#include <optional>

class QAction;

/// Describes a menu of one level on the session bus, where a desktop's panel draws it: the interface
/// com.canonical.dbusmenu. A choice triggers its action. What the menu holds does not change.
class DBusMenu final : public QDBusVirtualObject
{
    Q_OBJECT

public:
    /// `entries` outlive this.
    explicit DBusMenu(const QList<QAction*>& entries, QObject* parent = nullptr);

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
    QString introspect(const QString& path) const override;

private:
    /// The results of a method; nothing when it is unknown.
    std::optional<QVariantList> resultsOf(const QString& method, const QVariantList& arguments);
    void handleEvent(int id, const QString& event);

    QList<QAction*> m_entries; // an entry's id is its index and one: 0 is the menu
};
