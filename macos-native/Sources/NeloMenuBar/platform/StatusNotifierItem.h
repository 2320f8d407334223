#pragma once

#include "platform/DBusMenu.h"

#include <QDBusVirtualObject>
#include <QIcon>

/// The status item, described on the session bus for a desktop's panel, which draws it. See "StatusNotifierItem" at
/// freedesktop.org. It has a menu and no action of its own: a click with any button opens the menu. The panel draws the
/// menu, except where it activates the item instead and opens nothing when the item refuses that.
class StatusNotifierItem final : public QDBusVirtualObject
{
    Q_OBJECT

public:
    /// `name` is its identifier, title and tool tip.
    StatusNotifierItem(const QString& name, const QIcon& icon, const QList<QAction*>& menuItems,
                       QObject* parent = nullptr);
    StatusNotifierItem(const StatusNotifierItem&) = delete;
    StatusNotifierItem& operator=(const StatusNotifierItem&) = delete;
    ~StatusNotifierItem() override;

    /// Registers the item with the watcher, so that panels draw it. Call it again when another watcher has appeared.
    void registerWithWatcher();

    /// Sets whether the item can be activated. It refuses that unless told so.
    void setActivatable(bool isActivatable) { m_isActivatable = isActivatable; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
    QString introspect(const QString& path) const override;

signals:
    /// The panel has activated the item and opens no menu.
    void activated();
    /// The user is about to choose an item of the menu. `token` lets a window come to the front.
    void activationTokenProvided(const QByteArray& token);

private:
    QVariantMap m_properties;
    DBusMenu m_menu;
    bool m_isActivatable = false;
};
