#include "platform/StartupNotification.h"

#include "platform/XcbAtom.h"

#include <QGuiApplication>

#include <algorithm>

namespace {

/// Returns the protocol's message that the start `id` is complete.
QByteArray message(QByteArray id)
{
    return "remove: ID=\"" + id.replace('\\', "\\\\").replace('"', "\\\"") + '"';
}

} // namespace

void completeStartup(const QByteArray& id)
{
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (id.isEmpty() || !x11)
        return;
    xcb_connection_t* connection = x11->connection();
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 8;
    event.window = xcb_generate_id(connection); // a window of its own keeps the pieces of several messages apart
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, event.window, root, -1, -1, 1, 1, 0, XCB_COPY_FROM_PARENT,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    event.type = atomCalled(connection, "_NET_STARTUP_INFO_BEGIN");
    const QByteArray text = message(id) + '\0';
    constexpr auto pieceSize = qsizetype{sizeof event.data.data8};
    for (qsizetype start = 0; start < text.size(); start += pieceSize) {
        const QByteArray piece = text.mid(start, pieceSize).leftJustified(pieceSize, '\0');
        std::copy(piece.begin(), piece.end(), std::begin(event.data.data8));
        xcb_send_event(connection, 0, root, XCB_EVENT_MASK_PROPERTY_CHANGE, reinterpret_cast<const char*>(&event));
        event.type = atomCalled(connection, "_NET_STARTUP_INFO");
    }
    xcb_destroy_window(connection, event.window);
    xcb_flush(connection);
}
