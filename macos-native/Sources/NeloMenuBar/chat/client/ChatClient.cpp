#include "chat/client/ChatClient.h"

#include "base/Provider.h"
#include "chat/client/ChatReply.h"
#include "chat/client/CurlWorker.h"
#include "chat/core/ChatLog.h"

#include <utility>

namespace {

constexpr int maxRedirects = 20;

/// Returns why a request cannot be sent, or nothing when it can be sent. libcurl would guess the missing parts of a
/// URL.
std::optional<ChatTransportError> obstacleTo(const ChatRequest& request)
{
    const QString scheme = request.url.scheme();
    if (scheme != QLatin1StringView("https") && scheme != QLatin1StringView("http"))
        return curlFailure(request.url, CURLE_UNSUPPORTED_PROTOCOL);
    if (request.url.host().isEmpty())
        return curlFailure(request.url, CURLE_URL_MALFORMAT);
    if (!isHeaderValue(request.apiKey))
        return ChatTransportError{QStringLiteral("The API key has characters that cannot be sent")};
    return std::nullopt;
}

/// Interprets a transfer, and hides the API key where an error repeats it: errors are shown and logged.
LoggedOutcome interpretWithoutKey(ChatTransfer transfer, const QString& apiKey)
{
    constexpr qsizetype minKeyLength = 8; // a shorter one may be a common word
    LoggedOutcome result = interpretChatReply(transfer);
    if (std::holds_alternative<ChatText>(result.outcome) || !transfer.body || apiKey.size() < minKeyLength)
        return result;
    transfer.body->replace(apiKey.toLatin1(), "***");
    return interpretChatReply(transfer);
}

} // namespace

/// One call. It takes several requests when the server redirects.
struct ChatClient::Exchange
{
    ChatRequest request;
    Completion completion;
    int redirects = 0;
};

ChatClient::ChatClient(TransferLimits limits, QObject* parent) : QObject(parent), m_limits(std::move(limits))
{}

ChatClient::~ChatClient() = default;

void ChatClient::callChatAPI(const QString& provider, const QString& model, const QList<NeloChatMessage>& messages,
                             const QString& apiKey, const Completion& completion)
{
    const QString endpoint = Provider::endpoint(provider);
    neloChatLog(QStringLiteral("callChatAPI: provider=%1 model=%2 url=%3").arg(provider, model, endpoint));
    const std::optional<QUrl> url = Provider::parseEndpoint(endpoint);
    if (!url) {
        neloChatLog(QStringLiteral("callChatAPI aborted: invalid URL"));
        completion(NeloChatError{QStringLiteral("invalid URL")});
        return;
    }
    ++m_callsUnderWay;
    send(std::make_shared<Exchange>(Exchange{{*url, apiKey, chatRequestBody(model, messages)}, completion}));
}

/// Starts the worker if there is none. Returns false when that fails.
bool ChatClient::startWorker()
{
    if (m_worker)
        return true;
    m_worker = CurlWorker::start(m_limits);
    if (m_worker)
        connect(m_worker.get(), &CurlWorker::becameIdle, this, &ChatClient::endWorker);
    return m_worker != nullptr;
}

void ChatClient::send(const std::shared_ptr<Exchange>& exchange)
{
    std::optional<ChatTransportError> obstacle = obstacleTo(exchange->request);
    if (!obstacle && !startWorker())
        obstacle = curlFailure(exchange->request.url, CURLE_FAILED_INIT);
    if (obstacle) {
        const ChatTransfer failure{obstacle, std::nullopt, std::nullopt};
        QMetaObject::invokeMethod(
            this, [this, exchange, failure] { complete(exchange, failure); }, Qt::QueuedConnection);
        return;
    }
    m_worker->send(exchange->request, [this, exchange](const ChatTransfer& transfer) { receive(exchange, transfer); });
}

void ChatClient::receive(const std::shared_ptr<Exchange>& exchange, const ChatTransfer& transfer)
{
    const std::optional<ChatRequest> next =
        redirectToFollow(exchange->request, transfer.status.value_or(0), transfer.target);
    if (!next) {
        complete(exchange, transfer);
        return;
    }
    if (++exchange->redirects > maxRedirects) {
        const auto failure = failureInOwnWords(exchange->request.url, QStringLiteral("Too many redirects"));
        complete(exchange, {failure, std::nullopt, std::nullopt});
        return;
    }
    exchange->request = *next;
    send(exchange);
}

void ChatClient::complete(const std::shared_ptr<Exchange>& exchange, const ChatTransfer& transfer)
{
    --m_callsUnderWay;
    const LoggedOutcome result = interpretWithoutKey(transfer, exchange->request.apiKey);
    neloChatLog(result.logEntry);
    exchange->completion(result.outcome); // the last line: it may delete this client
}

/// Ends the worker's thread, and closes the connections that it kept.
void ChatClient::endWorker()
{
    if (m_callsUnderWay == 0) // a call may have begun since the signal was sent
        m_worker.reset();
}
