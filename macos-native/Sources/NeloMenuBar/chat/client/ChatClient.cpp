#include "chat/client/ChatClient.h"

#include "base/Provider.h"
#include "chat/client/CurlFailure.h"
#include "chat/client/CurlWorker.h"
#include "chat/core/ChatLog.h"

#include <utility>

namespace {

constexpr int maxRedirects = 20;

/// Why a request cannot be sent at all; nothing when it can. libcurl would guess at what a URL lacks.
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

/// What a transfer means. A server may repeat the key in its complaint, and a complaint is shown and logged.
ChatVerdict verdictOn(ChatTransfer transfer, const QString& apiKey)
{
    constexpr qsizetype minKeyLength = 8; // anything shorter is a word that a body may hold for its own reasons
    ChatVerdict verdict = interpretChatReply(transfer);
    if (std::holds_alternative<ChatText>(verdict.outcome) || !transfer.body || apiKey.size() < minKeyLength)
        return verdict;
    transfer.body->replace(apiKey.toLatin1(), "***");
    return interpretChatReply(transfer);
}

} // namespace

/// One call, which redirects may make more than one request.
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
    ++m_underWay;
    send(std::make_shared<Exchange>(Exchange{{*url, apiKey, chatRequestBody(model, messages)}, completion}));
}

/// Returns whether there is a worker now.
bool ChatClient::startWorker()
{
    if (m_worker)
        return true;
    m_worker = CurlWorker::start(m_limits);
    if (m_worker)
        connect(m_worker.get(), &CurlWorker::rested, this, &ChatClient::endWorker);
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
            this, [this, exchange, failure] { conclude(exchange, failure); }, Qt::QueuedConnection);
        return;
    }
    m_worker->send(exchange->request, [this, exchange](const ChatTransfer& transfer) { receive(exchange, transfer); });
}

void ChatClient::receive(const std::shared_ptr<Exchange>& exchange, const ChatTransfer& transfer)
{
    const std::optional<ChatRequest> next =
        redirectToFollow(exchange->request, transfer.status.value_or(0), transfer.target);
    if (!next) {
        conclude(exchange, transfer);
        return;
    }
    if (++exchange->redirects > maxRedirects) {
        const auto failure = failureInOwnWords(exchange->request.url, QStringLiteral("Too many redirects"));
        conclude(exchange, {failure, std::nullopt, std::nullopt});
        return;
    }
    exchange->request = *next;
    send(exchange);
}

void ChatClient::conclude(const std::shared_ptr<Exchange>& exchange, const ChatTransfer& transfer)
{
    --m_underWay;
    const ChatVerdict verdict = verdictOn(transfer, exchange->request.apiKey);
    neloChatLog(verdict.logEntry);
    exchange->completion(verdict.outcome); // last: it may end this client
}

/// Ends the worker's thread, and the connections that it kept.
void ChatClient::endWorker()
{
    if (m_underWay == 0) // otherwise a call has come meanwhile
        m_worker.reset();
}
