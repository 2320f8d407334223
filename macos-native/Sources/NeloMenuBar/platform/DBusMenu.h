#pragma once

#include <QDBusVirtualObject>
#include <QList>
#include <QVariantMap>

#include <optional>

class QAction;

/// Describes a menu of one level on the session bus, with the interface com.canonical.dbusmenu. A desktop's panel draws
/// it. The user's choice triggers the action. The menu does not change.
class DBusMenu final : public QDBusVirtualObject
{
    Q_OBJECT

public:
    /// `items` must outlive this object.
    explicit DBusMenu(const QList<QAction*>& items, QObject* parent = nullptr);

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
    QString introspect(const QString& path) const override;

private:
    /// Returns the results of a method, or nothing when the method is unknown.
    std::optional<QVariantList> resultsOf(const QString& method, const QVariantList& arguments);
    void handleEvent(int id, const QString& event);

    QList<QAction*> m_items; // an item's id is its index plus one; 0 is the menu
};
