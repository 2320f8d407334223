#pragma once

#include <chrono>
#include <vector>

#include <curl/curl.h>

/// The sockets of the connections that libcurl keeps. It does not notice that a server has closed one whose farewell,
/// as TLS has it, has not been read.
class KeptSockets final
{
public:
    /// Has the next request on the connection of `handle` fail within `acknowledgement` when its path has died.
    void add(CURL* handle, std::chrono::milliseconds acknowledgement);

    /// Returns whether the connection from `localPort` may be used again: its other side has not closed it, and has
    /// said nothing since its answer.
    bool isUsable(int localPort) const;

private:
    std::vector<curl_socket_t> m_sockets; // some may be closed, or be others by now
};
