#pragma once

#include "platform/DBusMenu.h"

#include <QDBusVirtualObject>
#include <QIcon>

/// The status item as a desktop's panel draws it, described on the session bus. See "StatusNotifierItem" at
/// freedesktop.org. It has a menu and no action of its own: a click of any button opens the menu.
class StatusNotifierItem final : public QDBusVirtualObject
{
    Q_OBJECT

public:
    /// `name` is its identifier, title and tool tip.
    StatusNotifierItem(const QString& name, const QIcon& icon, const QList<QAction*>& entries,
                       QObject* parent = nullptr);
    StatusNotifierItem(const StatusNotifierItem&) = delete;
    StatusNotifierItem& operator=(const StatusNotifierItem&) = delete;
    ~StatusNotifierItem() override;

    /// Asks the watcher to have the item drawn. To be called again whenever another one has come.
    void registerWithWatcher();

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
    QString introspect(const QString& path) const override;

signals:
    /// The user is about to choose something: the token that lets a window come forward.
    void activationTokenProvided(const QByteArray& token);

private:
    QVariantMap m_properties;
    DBusMenu m_menu;
};
