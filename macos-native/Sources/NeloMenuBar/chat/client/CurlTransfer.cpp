#include "chat/client/CurlTransfer.h"

#include "chat/client/CurlFailure.h"
#include "chat/client/Gunzip.h"

#include <utility>
#include <vector>

namespace {

bool forbidsBody(int status)
{
    return status < 200 || status == 204 || status == 205 || status == 304;
}

/// What libcurl calls a proxy of this kind; empty for none.
QByteArray schemeOf(QNetworkProxy::ProxyType type)
{
    switch (type) {
    case QNetworkProxy::Socks5Proxy:
        return "socks5h://"; // which looks up the host's name too
    case QNetworkProxy::HttpProxy:
    case QNetworkProxy::HttpCachingProxy:
        return "http://";
    default:
        return {};
    }
}

QByteArray addressOf(const QNetworkProxy& proxy)
{
    const QByteArray port = proxy.port() == 0 ? QByteArray() : ':' + QByteArray::number(proxy.port());
    return schemeOf(proxy.type()) + QUrl::toAce(proxy.hostName()) + port;
}

} // namespace

CurlTransfer::CurlTransfer(ChatRequest request, const TransferLimits& limits, KeptSockets& kept)
    : m_request(std::move(request)), m_limits(limits), m_kept(&kept), m_handle(curl_easy_init(), curl_easy_cleanup),
      m_headers(nullptr, curl_slist_free_all)
{
    set(CURLOPT_URL, m_request.url.toEncoded(QUrl::RemoveUserInfo | QUrl::RemoveFragment).constData());
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_USERAGENT, "Nelo/" NELO_VERSION);
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_QUICK_EXIT, 1L); // without waiting for a name server
    set(CURLOPT_ERRORBUFFER, m_details.data());
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    if (!limits.authoritiesFile.isEmpty())
        set(CURLOPT_CAINFO, limits.authoritiesFile.constData());
    if (!m_request.body.isEmpty()) {
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(m_request.body.size()));
        set(CURLOPT_POSTFIELDS, m_request.body.constData());
    }
    setHeaders();
    setCallbacks();
}

template <typename Value> void CurlTransfer::set(CURLoption option, Value value)
{
    curl_easy_setopt(m_handle.get(), option, value);
}

void CurlTransfer::setHeaders()
{
    const QByteArray authorization = "Authorization: Bearer " + m_request.apiKey.toLatin1();
    // The body is not to wait for a "continue"; and it is unpacked by ourselves, for libcurl takes what came of a
    // packed body that breaks off for the whole.
    std::vector<const char*> lines{authorization.constData(), "Accept-Encoding: gzip", "Expect:"};
    if (!m_request.body.isEmpty())
        lines.push_back("Content-Type: application/json");
    for (const char* line : lines)
        m_headers.reset(curl_slist_append(m_headers.release(), line));
    set(CURLOPT_HTTPHEADER, m_headers.get());
}

void CurlTransfer::setCallbacks()
{
    set(CURLOPT_HEADERFUNCTION, receiveHeader);
    set(CURLOPT_HEADERDATA, this);
    set(CURLOPT_WRITEFUNCTION, receiveBody);
    set(CURLOPT_WRITEDATA, this);
    set(CURLOPT_XFERINFOFUNCTION, observeProgress);
    set(CURLOPT_XFERINFODATA, this);
    set(CURLOPT_NOPROGRESS, 0L);
    set(CURLOPT_SOCKOPTFUNCTION, beforeConnection);
    set(CURLOPT_SOCKOPTDATA, this);
    set(CURLOPT_PREREQFUNCTION, beforeRequest);
    set(CURLOPT_PREREQDATA, this);
}

void CurlTransfer::prepare(const QNetworkProxy& proxy, std::chrono::seconds greatestIdleness)
{
    m_lastMove = Clock::now();
    if (m_request.needsNewConnection || greatestIdleness.count() == 0)
        set(CURLOPT_FRESH_CONNECT, 1L);
    else
        set(CURLOPT_MAXAGE_CONN, static_cast<long>(greatestIdleness.count() - 1)); // libcurl counts whole seconds
    if (schemeOf(proxy.type()).isEmpty()) {
        set(CURLOPT_NOPROXY, "*");
        return;
    }
    set(CURLOPT_PROXY, addressOf(proxy).constData()); // and "no_proxy" as the environment says
    if (proxy.user().isEmpty())
        return;
    set(CURLOPT_PROXYAUTH, CURLAUTH_BASIC | CURLAUTH_DIGEST | CURLAUTH_NTLM);
    set(CURLOPT_PROXYUSERNAME, proxy.user().toUtf8().constData());
    set(CURLOPT_PROXYPASSWORD, proxy.password().toUtf8().constData());
}

bool CurlTransfer::beginAnew()
{
    if (!std::exchange(m_isToBeginAnew, false))
        return false;
    set(CURLOPT_FRESH_CONNECT, 1L);
    return true;
}

ChatTransfer CurlTransfer::result(CURLcode code)
{
    if (code == CURLE_OK && !m_hasWholeHead)
        code = CURLE_GOT_NOTHING; // libcurl does not mind half a head
    if (code != CURLE_OK && !m_error)
        m_error = curlFailure(m_request.url, code, QString::fromUtf8(m_details.data()));
    if (m_error)
        return {m_error, std::nullopt, std::nullopt};
    m_kept->add(m_handle.get(), m_limits.acknowledgement);

    ChatTransfer transfer{std::nullopt, status(), m_body, QUrl::fromEncoded(header("Location"))};
    const QByteArray encoding = header("Content-Encoding").toLower();
    const bool isPacked = encoding == "gzip" || encoding == "x-gzip"; // in the one way that we ask for
    if (m_body.isEmpty() && forbidsBody(status()))
        transfer.body.reset();
    if (m_body.isEmpty() || !isPacked)
        return transfer;
    transfer.body = gunzip(m_body);
    if (!transfer.body)
        return {failureInOwnWords(m_request.url, QStringLiteral("The answer cannot be unpacked")), std::nullopt,
                std::nullopt};
    return transfer;
}

/// Whether the request may go out now. A server may have acted on one that went out before, and it could act twice. But
/// a proxy that asked for credentials has passed nothing on.
bool CurlTransfer::mayBeSent()
{
    if (!m_isSent || status() == 407)
        return true;
    m_error = failureInOwnWords(m_request.url,
                                QStringLiteral("the connection closed before an answer; the message may have arrived"));
    return false;
}

/// The last status that came; 0 when none did.
int CurlTransfer::status() const
{
    long status = 0;
    curl_easy_getinfo(m_handle.get(), CURLINFO_RESPONSE_CODE, &status);
    return static_cast<int>(status);
}

/// The value of a header of the answer; empty when it has none.
QByteArray CurlTransfer::header(const char* name) const
{
    curl_header* found = nullptr;
    const CURLHcode code = curl_easy_header(m_handle.get(), name, 0, CURLH_HEADER, -1, &found);
    return code == CURLHE_OK ? QByteArray(found->value).trimmed() : QByteArray();
}

std::size_t CurlTransfer::receiveHeader(char* bytes, std::size_t /*always 1*/, std::size_t count, void* self)
{
    auto* const transfer = static_cast<CurlTransfer*>(self);
    const QByteArrayView line(bytes, static_cast<qsizetype>(count));
    const bool isLast = line == "\r\n" || line == "\n"; // but chunks may have lines like those of a head after them
    transfer->m_hasWholeHead = transfer->m_hasWholeHead || (isLast && transfer->status() >= 200);
    transfer->m_lastMove = Clock::now();
    return count;
}

std::size_t CurlTransfer::receiveBody(char* bytes, std::size_t /*always 1*/, std::size_t count, void* self)
{
    static_cast<CurlTransfer*>(self)->m_body.append(bytes, static_cast<qsizetype>(count));
    return count;
}

int CurlTransfer::observeProgress(void* self, curl_off_t /*toReceive*/, curl_off_t received, curl_off_t /*toSend*/,
                                  curl_off_t sent)
{
    auto* const transfer = static_cast<CurlTransfer*>(self);
    const Clock::time_point now = Clock::now();
    if (transfer->m_moved != received + sent)
        transfer->m_lastMove = now;
    transfer->m_moved = received + sent;
    if (now < transfer->deadline())
        return 0;
    transfer->m_error = curlFailure(transfer->url(), CURLE_OPERATION_TIMEDOUT);
    return 1;
}

int CurlTransfer::beforeConnection(void* self, curl_socket_t /*socket*/, curlsocktype /*purpose*/)
{
    return static_cast<CurlTransfer*>(self)->mayBeSent() ? CURL_SOCKOPT_OK : CURL_SOCKOPT_ERROR;
}

int CurlTransfer::beforeRequest(void* self, char* /*peer*/, char* /*local*/, int /*peerPort*/, int localPort)
{
    auto* const transfer = static_cast<CurlTransfer*>(self);
    long newConnections = 0;
    curl_easy_getinfo(transfer->handle(), CURLINFO_NUM_CONNECTS, &newConnections);
    transfer->m_isToBeginAnew = newConnections == 0 && !transfer->m_kept->isUsable(localPort);
    if (transfer->m_isToBeginAnew || !transfer->mayBeSent())
        return CURL_PREREQFUNC_ABORT;
    transfer->m_isSent = true;
    transfer->m_hasWholeHead = false; // a proxy may have demanded credentials before
    return CURL_PREREQFUNC_OK;
}
