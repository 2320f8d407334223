#pragma once

#include "chat/client/ChatRequest.h"
#include "chat/client/ChatTransfer.h"
#include "chat/client/KeptSockets.h"

#include <QNetworkProxy>

#include <array>
#include <chrono>
#include <functional>
#include <memory>

#include <curl/curl.h>

/// The time limits of transfers and of their connections, and the certificates that they trust. Tests choose their own.
struct TransferLimits
{
    /// A transfer fails when no byte arrives or leaves for this long.
    std::chrono::milliseconds silence{60'000};
    /// A connection that was idle for this long is not used again.
    std::chrono::milliseconds idleness{60'000};
    /// A request on a connection that is used again fails when the other side does not acknowledge it within this time.
    std::chrono::milliseconds acknowledgement{15'000};
    std::function<std::chrono::system_clock::time_point()> wallClock = std::chrono::system_clock::now;
    /// The file with the certificates of the trusted authorities. The system's are used when it is empty.
    QByteArray authoritiesFile{};
};

/// Returns why a transfer to `url` failed: the host, and libcurl's words. `details` are its words for this one failure.
/// Without them, or when they name the host a second time, its words for every failure with `code` stand instead.
ChatTransportError curlFailure(const QUrl& url, CURLcode code, const QString& details = QString());

/// Returns why a transfer to `url` failed: the host, and `words` of our own.
ChatTransportError failureInOwnWords(const QUrl& url, const QString& words);

/// Returns the proxy that the desktop has set for `url`. There is never one for this machine itself. The call may
/// block, because the desktop may have to fetch its rules first.
QNetworkProxy systemProxyFor(const QUrl& url);

/// One request and its answer. One thread at a time.
class CurlTransfer final
{
public:
    using Clock = std::chrono::steady_clock;

    /// `kept` has the sockets that are used again. It must outlive the transfer.
    CurlTransfer(ChatRequest request, const TransferLimits& limits, KeptSockets& kept);
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    /// Returns the handle, which a multi handle runs. Remove it from the multi handle before this object is destroyed.
    CURL* handle() const { return m_handle.get(); }

    /// Chooses the proxy, and allows a kept connection that has been idle for less than `maxIdleness`. The time limit
    /// begins now. The call may block for the proxy.
    void prepare(std::chrono::seconds maxIdleness);

    /// Returns when the transfer fails, unless a byte arrives or leaves before.
    Clock::time_point deadline() const { return m_lastMove + m_limits.silence; }

    /// Prepares to run the transfer again on a new connection, and returns true, when libcurl has chosen a connection
    /// that was closed already. Nothing was sent then. Returns false otherwise.
    bool prepareRetry();

    /// Returns the result of the transfer. `code` is the one that libcurl ended it with.
    ChatTransfer result(CURLcode code);

private:
    static std::size_t receiveHeader(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t receiveBody(char* bytes, std::size_t size, std::size_t count, void* self);
    static int observeProgress(void* self, curl_off_t toReceive, curl_off_t received, curl_off_t toSend,
                               curl_off_t sent);
    static int beforeConnection(void* self, curl_socket_t socket, curlsocktype purpose);
    static int beforeRequest(void* self, char* peer, char* local, int peerPort, int localPort);

    template <typename Value> void set(CURLoption option, Value value);
    void setHeaders();
    void setCallbacks();
    bool mayBeSent();
    int status() const;
    void setProxy(const QNetworkProxy& proxy);
    QByteArray header(const char* name) const;

    ChatRequest m_request;
    TransferLimits m_limits;
    KeptSockets* m_kept;
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> m_handle;
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> m_headers;
    std::array<char, CURL_ERROR_SIZE> m_details{}; // libcurl's words for this failure
    QByteArray m_body;
    Clock::time_point m_lastMove;
    curl_off_t m_moved = 0; // the bytes of both bodies so far
    bool m_needsRetry = false;
    bool m_isSent = false;
    bool m_hasWholeHead = false;               // all headers of the answer have arrived
    std::optional<ChatTransportError> m_error; // set when we told libcurl to end the transfer
};
