#include "chat/client/KeptSockets.h"

#include <QtGlobal>

#include <algorithm>
#include <cerrno>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace {

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
    curl_easy_getinfo(handle, CURLINFO_LOCAL_PORT, &m_localPorts[socket]);
}

bool KeptSockets::isUsable(int localPort) const
{
    return std::all_of(m_localPorts.begin(), m_localPorts.end(), [localPort](const auto& connection) {
        return connection.second != localPort || isQuiet(connection.first);
    });
}
