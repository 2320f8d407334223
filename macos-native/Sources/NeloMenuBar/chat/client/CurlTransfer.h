#pragma once

#include "chat/client/ChatReply.h"
#include "chat/client/ChatRequest.h"
#include "chat/client/KeptSockets.h"

#include <QNetworkProxy>

#include <array>
#include <chrono>
#include <functional>
#include <memory>

#include <curl/curl.h>

/// How long transfers and their connections may take, and whom they trust; tests choose their own.
struct TransferLimits
{
    std::chrono::milliseconds silence{60'000};         // nothing moves: the transfer has failed
    std::chrono::milliseconds idleness{60'000};        // of a connection: it is not used again
    std::chrono::milliseconds acknowledgement{15'000}; // of what was sent on a connection that is used again
    std::function<std::chrono::system_clock::time_point()> wallClock = std::chrono::system_clock::now;
    QByteArray authoritiesFile{}; // certificates; the system's when empty
};

/// One request and what comes of it. For one thread.
class CurlTransfer final
{
public:
    using Clock = std::chrono::steady_clock;

    /// `kept` must outlive the transfer.
    CurlTransfer(ChatRequest request, const TransferLimits& limits, KeptSockets& kept);
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    /// To be run by a multi handle, which must let go of it before this object ends.
    CURL* handle() const { return m_handle.get(); }
    const QUrl& url() const { return m_request.url; }

    /// Goes through `proxy`, on a connection that has been idle for less than `greatestIdleness`. Its time begins.
    void prepare(const QNetworkProxy& proxy, std::chrono::seconds greatestIdleness);

    /// When it has failed unless something moves before.
    Clock::time_point deadline() const { return m_lastMove + m_limits.silence; }

    /// Returns whether it is to be run again, on a new connection: libcurl had chosen one that was closed, and nothing
    /// was sent.
    bool beginAnew();

    /// What it brought, now that libcurl says that it has ended with `code`.
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
    QByteArray header(const char* name) const;

    ChatRequest m_request;
    TransferLimits m_limits;
    KeptSockets* m_kept;
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> m_handle;
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> m_headers;
    std::array<char, CURL_ERROR_SIZE> m_details{}; // of a failure, as libcurl tells them
    QByteArray m_body;
    Clock::time_point m_lastMove;
    curl_off_t m_moved = 0; // bytes of bodies, both ways
    bool m_isToBeginAnew = false;
    bool m_isSent = false;
    bool m_hasWholeHead = false;               // of the answer
    std::optional<ChatTransportError> m_error; // for which libcurl was told to end it
};
