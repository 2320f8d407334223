#include "chat/client/KeptSockets.h"

#include <QtGlobal>

#include <algorithm>
#include <cerrno>
#include <optional>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace {

/// Returns the local port of a connection, or nothing when `socket` is no connection.
std::optional<int> localPortOf(curl_socket_t socket)
{
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    if (getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        return std::nullopt;
    if (address.ss_family == AF_INET)
        return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
    if (address.ss_family == AF_INET6)
        return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
    return std::nullopt;
}

/// Returns whether the connection is open and nothing waits in it to be read.
bool isQuiet(curl_socket_t socket)
{
    char byte = 0;
    return recv(socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
}

} // namespace

void KeptSockets::add(CURL* handle, std::chrono::milliseconds acknowledgement)
{
    curl_socket_t socket = CURL_SOCKET_BAD;
    curl_easy_getinfo(handle, CURLINFO_ACTIVESOCKET, &socket);
    if (socket == CURL_SOCKET_BAD)
        return; // the connection is closed
#ifdef Q_OS_MACOS
    const auto limit = static_cast<int>(std::chrono::ceil<std::chrono::seconds>(acknowledgement).count());
    setsockopt(socket, IPPROTO_TCP, TCP_RXT_CONNDROPTIME, &limit, sizeof limit);
#else
    const auto limit = static_cast<unsigned>(acknowledgement.count());
    setsockopt(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, &limit, sizeof limit);
#endif
    if (std::find(m_sockets.begin(), m_sockets.end(), socket) == m_sockets.end())
        m_sockets.push_back(socket);
}

bool KeptSockets::isUsable(int localPort) const
{
    return std::all_of(m_sockets.begin(), m_sockets.end(), [localPort](curl_socket_t socket) {
        return localPortOf(socket) != localPort || isQuiet(socket);
    });
}
