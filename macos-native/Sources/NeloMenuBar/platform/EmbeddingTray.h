#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>

#include <xcb/xproto.h>

/// Knows whether there is a tray that embeds the windows of programs, as X11 desktops have it; on others there is none.
/// See "System Tray Protocol" at freedesktop.org.
class EmbeddingTray final : public QObject, private QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    explicit EmbeddingTray(QObject* parent = nullptr);

    bool isThere() const { return m_window != XCB_WINDOW_NONE; }

signals:
    void changed();

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    void find();

    xcb_connection_t* m_connection = nullptr; // Qt's; none where there is no X server
    xcb_atom_t m_announcement = XCB_ATOM_NONE;
    xcb_atom_t m_selection = XCB_ATOM_NONE; // which a tray owns for as long as it is there
    xcb_window_t m_window = XCB_WINDOW_NONE;
};
