#pragma once

#include <QByteArray>

#include <cstdint>
#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

struct FreeXcbReply
{
    void operator()(void* memory) const { std::free(memory); } // xcb allocates its replies with malloc()
};

template <typename Reply> using XcbReply = std::unique_ptr<Reply, FreeXcbReply>;

/// Returns the atom with the name `name`. Makes it if there is none. Returns XCB_ATOM_NONE when the server has gone.
inline xcb_atom_t atomCalled(xcb_connection_t* connection, const QByteArray& name)
{
    const auto asked = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.constData());
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, asked, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}
