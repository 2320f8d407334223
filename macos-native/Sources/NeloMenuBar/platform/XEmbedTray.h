#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>

#include <xcb/xproto.h>

/// Knows whether there is a tray that embeds the windows of programs, as X11 desktops have it; on others there is none.
/// See "System Tray Protocol" at freedesktop.org.
class XEmbedTray final : public QObject, private QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    explicit XEmbedTray(QObject* parent = nullptr);

    bool isThere() const { return m_window != XCB_WINDOW_NONE; }

signals:
    void changed();
    /// A mouse button was pressed on an icon of ours in the tray, also while an alert keeps Qt from telling it.
    void iconPressed();

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    void find();
    void reportPress(xcb_window_t window);

    xcb_connection_t* m_connection = nullptr; // Qt's; none where there is no X server
    xcb_atom_t m_announcement = XCB_ATOM_NONE;
    xcb_atom_t m_selection = XCB_ATOM_NONE; // which a tray owns for as long as it is there
    xcb_window_t m_window = XCB_WINDOW_NONE;
};
