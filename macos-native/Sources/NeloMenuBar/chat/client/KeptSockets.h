#pragma once

#include <chrono>
#include <map>

#include <curl/curl.h>

/// The sockets of the connections that libcurl keeps. libcurl itself does not notice that a server has closed a TLS
/// connection, as long as the closing message waits in the socket unread.
class KeptSockets final
{
public:
    /// Remembers the socket of `handle`. A later request on it fails when the other side does not acknowledge it within
    /// `acknowledgement`: the network may have lost the connection meanwhile.
    void add(CURL* handle, std::chrono::milliseconds acknowledgement);

    /// Returns whether the connection from `localPort` may be used again: the other side has neither closed it nor sent
    /// anything since its answer.
    bool isUsable(int localPort) const;

private:
    /// By the sockets. Some may be closed, or their numbers may belong to other sockets now.
    std::map<curl_socket_t, long> m_localPorts;
};
