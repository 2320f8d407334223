#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <QPoint>
#include <QRect>

#include <xcb/xproto.h>

/// Knows whether there is a tray that embeds windows of programs. Only X11 desktops have such trays. See "System Tray
/// Protocol" at freedesktop.org.
class XEmbedTray final : public QObject, private QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    explicit XEmbedTray(QObject* parent = nullptr);

    bool isThere() const { return m_window != XCB_WINDOW_NONE; }

signals:
    void changed();
    /// A mouse button was pressed on our icon in the tray. This is emitted also while an alert is open, when Qt tells
    /// nothing.
    void iconPressed();

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    void find();
    void reportPress(xcb_window_t window);

    xcb_connection_t* m_connection = nullptr; // owned by Qt; null without an X server
    xcb_atom_t m_announcement = XCB_ATOM_NONE;
    xcb_atom_t m_selection = XCB_ATOM_NONE; // the tray owns it while it runs
    xcb_window_t m_window = XCB_WINDOW_NONE;
};

/// Returns the place of the upper left corner of a menu that opens from an icon. `menu` is the menu's size, `icon` the
/// icon's place. The menu is below the icon, or above it in the lower half of `screen`. All coordinates are the
/// desktop's.
QPoint menuPosition(const QRect& icon, const QSize& menu, const QRect& screen);
