#include "platform/XEmbedTray.h"

#include "platform/XcbAtom.h"

#include <QByteArray>
#include <QGuiApplication>
#include <QWidget>

#include <cstdint>
#include <cstdlib>
#include <utility>

#include <X11/extensions/XI2.h>
#include <X11/extensions/XI2proto.h>
#include <xcb/xcb.h>

namespace {

xcb_connection_t* serverConnection()
{
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

/// Returns the name of the tray's selection. A tray belongs to one screen, and the program to the screen at the end of
/// its display's name.
QByteArray selectionName()
{
    char* host = nullptr;
    int display = 0;
    int screen = 0;
    xcb_parse_display(nullptr, &host, &display, &screen);
    std::free(host);
    return "_NET_SYSTEM_TRAY_S" + QByteArray::number(screen);
}

/// Asks for an event when `window` is destroyed. Returns false when it is destroyed already.
bool watchForEnd(xcb_connection_t* connection, xcb_window_t window)
{
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY; // Qt asks for the same on this connection
    const auto asked = xcb_change_window_attributes_checked(connection, window, XCB_CW_EVENT_MASK, &events);
    const XcbReply<xcb_generic_error_t> failure(xcb_request_check(connection, asked));
    return !failure;
}

xcb_window_t ownerOf(xcb_connection_t* connection, xcb_atom_t selection)
{
    const auto asked = xcb_get_selection_owner(connection, selection);
    const XcbReply<xcb_get_selection_owner_reply_t> answer(xcb_get_selection_owner_reply(connection, asked, nullptr));
    return answer ? answer->owner : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
}

} // namespace

XEmbedTray::XEmbedTray(QObject* parent) : QObject(parent), m_connection(serverConnection())
{
    if (m_connection == nullptr)
        return;
    m_announcement = atomCalled(m_connection, "MANAGER");
    m_selection = atomCalled(m_connection, selectionName());
    QCoreApplication::instance()->installNativeEventFilter(this);
    find();
}

bool XEmbedTray::nativeEventFilter(const QByteArray& /*eventType*/, void* message, qintptr* /*result*/)
{
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    constexpr int sentByAProgram = 0x80;
    switch (event->response_type & ~sentByAProgram) {
    case XCB_CLIENT_MESSAGE: { // Qt has asked for the messages to the root window
        const auto* said = reinterpret_cast<const xcb_client_message_event_t*>(event);
        if (said->type == m_announcement && said->data.data32[1] == m_selection)
            find();
        break;
    }
    case XCB_DESTROY_NOTIFY:
        if (reinterpret_cast<const xcb_destroy_notify_event_t*>(event)->window == m_window)
            find();
        break;
    case XCB_BUTTON_PRESS:
        reportPress(reinterpret_cast<const xcb_button_press_event_t*>(event)->event);
        break;
    case XCB_GE_GENERIC: { // an event of the X Input Extension
        const auto* press = reinterpret_cast<const xXIDeviceEvent*>(event);
        if (press->evtype == XI_ButtonPress)
            reportPress(press->event);
        break;
    }
    default:
        break;
    }
    return false; // Qt handles the event, too
}

void XEmbedTray::reportPress(xcb_window_t window)
{
    const QWidget* widget = QWidget::find(window);
    if (widget && widget->inherits("QSystemTrayIconSys"))
        emit iconPressed();
}

void XEmbedTray::find()
{
    const xcb_window_t before = std::exchange(m_window, ownerOf(m_connection, m_selection));
    if (isThere() && !watchForEnd(m_connection, m_window))
        m_window = XCB_WINDOW_NONE;
    if (m_window != before)
        emit changed();
}

QPoint menuPosition(const QRect& icon, const QSize& menu, const QRect& screen)
{
    const bool isLow = icon.center().y() > screen.center().y();
    return isLow ? icon.topLeft() - QPoint(0, menu.height()) : icon.bottomLeft() + QPoint(0, 1);
}
