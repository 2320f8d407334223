#include "chat/client/CurlTransfer.h"

#include "chat/client/Gunzip.h"

#include <QHostAddress>

#include <utility>
#include <vector>

namespace {

bool forbidsBody(int status)
{
    return status < 200 || status == 204 || status == 205 || status == 304;
}

/// Returns libcurl's name for a proxy of this kind. It is empty when there is no proxy.
QByteArray schemeOf(QNetworkProxy::ProxyType type)
{
    switch (type) {
    case QNetworkProxy::Socks5Proxy:
        return "socks5h://"; // the proxy looks up the name of the host, too
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

bool isLoopback(const QString& host)
{
    const QLatin1StringView localhost("localhost"); // this name and those below it are reserved for this machine
    return host == localhost || host.endsWith(u'.' + localhost) || QHostAddress(host).isLoopback();
}

} // namespace

ChatTransportError curlFailure(const QUrl& url, CURLcode code, const QString& details)
{
    const bool isUsable = !details.isEmpty() && !details.contains(url.host());
    return failureInOwnWords(url, isUsable ? details : QString::fromLatin1(curl_easy_strerror(code)));
}

ChatTransportError failureInOwnWords(const QUrl& url, const QString& words)
{
    return {url.host().isEmpty() ? words : url.host() + QStringLiteral(": ") + words};
}

QNetworkProxy systemProxyFor(const QUrl& url)
{
    if (isLoopback(url.host()))
        return QNetworkProxy::NoProxy;
    return QNetworkProxyFactory::systemProxyForQuery(QNetworkProxyQuery(url)).value(0, QNetworkProxy::NoProxy);
}

CurlTransfer::CurlTransfer(ChatRequest request, const TransferLimits& limits, KeptSockets& kept)
    : m_request(std::move(request)), m_limits(limits), m_kept(&kept), m_handle(curl_easy_init(), curl_easy_cleanup),
      m_headers(nullptr, curl_slist_free_all)
{
    set(CURLOPT_URL, m_request.url.toEncoded(QUrl::RemoveUserInfo | QUrl::RemoveFragment).constData());
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_USERAGENT, "Nelo/" NELO_VERSION);
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_QUICK_EXIT, 1L); // ending does not wait for a name server
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
    // An empty "Expect" sends the body at once, without waiting for a "100 Continue". We unpack the answer ourselves:
    // libcurl would take a packed body that is cut off for a whole one.
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

void CurlTransfer::prepare(std::chrono::seconds maxIdleness)
{
    setProxy(systemProxyFor(m_request.url));
    m_lastMove = Clock::now();
    if (m_request.needsNewConnection || maxIdleness.count() == 0)
        set(CURLOPT_FRESH_CONNECT, 1L);
    else
        set(CURLOPT_MAXAGE_CONN, static_cast<long>(maxIdleness.count() - 1)); // libcurl counts whole seconds
}

void CurlTransfer::setProxy(const QNetworkProxy& proxy)
{
    if (schemeOf(proxy.type()).isEmpty()) {
        set(CURLOPT_NOPROXY, "*");
        return;
    }
    set(CURLOPT_PROXY, addressOf(proxy).constData()); // libcurl itself reads "no_proxy" from the environment
    if (proxy.user().isEmpty())
        return;
    set(CURLOPT_PROXYAUTH, CURLAUTH_BASIC | CURLAUTH_DIGEST | CURLAUTH_NTLM);
    set(CURLOPT_PROXYUSERNAME, proxy.user().toUtf8().constData());
    set(CURLOPT_PROXYPASSWORD, proxy.password().toUtf8().constData());
}

bool CurlTransfer::prepareRetry()
{
    if (!std::exchange(m_needsRetry, false))
        return false;
    set(CURLOPT_FRESH_CONNECT, 1L);
    return true;
}

ChatTransfer CurlTransfer::result(CURLcode code)
{
    if (code == CURLE_OK && !m_hasWholeHead)
        code = CURLE_GOT_NOTHING; // libcurl calls an answer complete that ends within its headers
    if (code != CURLE_OK && !m_error)
        m_error = curlFailure(m_request.url, code, QString::fromUtf8(m_details.data()));
    if (m_error)
        return {m_error, std::nullopt, std::nullopt};
    m_kept->add(m_handle.get(), m_limits.acknowledgement);

    ChatTransfer transfer{std::nullopt, status(), m_body, QUrl::fromEncoded(header("Location"))};
    const QByteArray encoding = header("Content-Encoding").toLower();
    const bool isPacked = encoding == "gzip" || encoding == "x-gzip"; // we ask for no other encoding
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

/// Returns whether the request may be sent now. It may not be sent twice: the server may have acted on it already. A
/// proxy that answers with 407 asks for credentials and has passed nothing on, so the request is sent again.
bool CurlTransfer::mayBeSent()
{
    if (!m_isSent || status() == 407)
        return true;
    m_error = failureInOwnWords(m_request.url,
                                QStringLiteral("the connection closed before an answer; the message may have arrived"));
    return false;
}

/// Returns the last status that came, or 0 when none came.
int CurlTransfer::status() const
{
    long status = 0;
    curl_easy_getinfo(m_handle.get(), CURLINFO_RESPONSE_CODE, &status);
    return static_cast<int>(status);
}

/// Returns the value of a header of the answer. It is empty when there is no such header.
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
    // An empty line ends the headers. Trailers after a chunked body end with an empty line, too.
    const bool isLast = line == "\r\n" || line == "\n";
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
    transfer->m_error = curlFailure(transfer->m_request.url, CURLE_OPERATION_TIMEDOUT);
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
    transfer->m_needsRetry = newConnections == 0 && !transfer->m_kept->isUsable(localPort);
    if (transfer->m_needsRetry || !transfer->mayBeSent())
        return CURL_PREREQFUNC_ABORT;
    transfer->m_isSent = true;
    transfer->m_hasWholeHead = false; // it is true when a proxy has asked for credentials before
    return CURL_PREREQFUNC_OK;
}
