#include "chat/client/ChatClient.h"

#include "base/Provider.h"
#include "chat/client/ChatRequest.h"
#include "chat/client/ChatTransferResult.h"
#include "chat/client/ChatUpload.h"
#include "chat/client/LoopbackAwareProxies.h"
#include "chat/core/ChatLog.h"

#include <QNetworkReply>

namespace {

constexpr int mostExchangesAtOnce = 6; // with one origin; as many as QNetworkAccessManager has connections to it
constexpr int mostRedirects = 20;

bool asksToPostElsewhere(int status)
{
    return status == 307 || status == 308;
}

ChatTransfer failedTransfer(const QString& text)
{
    return {ChatTransportError{text}, std::nullopt, std::nullopt};
}

/// What a transfer means. A server may repeat the key in its complaint, and a complaint is shown and logged.
ChatVerdict verdictOn(ChatTransfer transfer, const QString& apiKey)
{
    constexpr qsizetype shortestKey = 8; // anything shorter is a word that a body may hold for its own reasons
    ChatVerdict verdict = interpretChatReply(transfer);
    if (std::holds_alternative<ChatText>(verdict.outcome) || !transfer.body || apiKey.size() < shortestKey)
        return verdict;
    transfer.body->replace(apiKey.toLatin1(), "***");
    return interpretChatReply(transfer);
}

} // namespace

/// One call, which redirects may make more than one request.
struct ChatClient::Exchange
{
    QUrl url;
    QByteArray body; // none: to be fetched instead of posted
    QString apiKey;
    int redirects;
    Completion completion;
};

ChatClient::ChatClient(std::chrono::milliseconds patience, QObject* parent) : QObject(parent), m_patience(patience)
{
    m_manager.setProxyFactory(new LoopbackAwareProxies); // the manager's from now on
}

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
    m_waiting.append(std::make_shared<Exchange>(
        Exchange{*url, chatRequestBody(model, messages), apiKey, /*redirects=*/0, completion}));
    startWaiting();
}

/// Starts what waits, as far as there are connections. The manager would queue requests as well, but the timeouts of
/// those it queues run already, and one connection's failure is all of theirs.
void ChatClient::startWaiting()
{
    for (qsizetype index = 0; index < m_waiting.size();) {
        int& underWay = m_underWay[originOf(m_waiting[index]->url)];
        if (underWay == mostExchangesAtOnce) {
            ++index;
            continue;
        }
        ++underWay;
        send(m_waiting.takeAt(index));
    }
}

void ChatClient::send(const std::shared_ptr<Exchange>& exchange)
{
    if (!isHeaderValue(exchange->apiKey)) {
        const ChatTransfer failure = failedTransfer(QStringLiteral("The API key has characters that cannot be sent"));
        QMetaObject::invokeMethod(
            this, [this, exchange, failure] { conclude(exchange, failure); }, Qt::QueuedConnection);
        return;
    }
    QNetworkReply* const reply = exchange->body.isEmpty() ? fetch(*exchange) : post(*exchange);
    connect(reply, &QNetworkReply::finished, this, [this, exchange, reply] { receive(exchange, reply); });
}

QNetworkReply* ChatClient::fetch(const Exchange& exchange)
{
    return m_manager.get(chatRequest(exchange.url, exchange.apiKey, m_patience));
}

QNetworkReply* ChatClient::post(const Exchange& exchange)
{
    QNetworkRequest request = chatRequest(exchange.url, exchange.apiKey, m_patience);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    auto* const upload = new ChatUpload(exchange.body);
    QNetworkReply* const reply = m_manager.post(request, upload);
    upload->setParent(reply);
    // A request that a server may have acted on is not sent again. But before a redirect the manager asks too, to leave
    // the rest to us.
    upload->setPolicy([reply] { return asksToPostElsewhere(statusOf(*reply).value_or(0)); });
    return reply;
}

void ChatClient::receive(const std::shared_ptr<Exchange>& exchange, QNetworkReply* reply)
{
    reply->deleteLater();
    const ChatTransfer transfer = transferOf(*reply);
    const QUrl target = reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    const std::optional<QUrl> next =
        transfer.error ? std::nullopt : redirectToFollow(exchange->url, transfer.status.value_or(0), target);
    if (!next) {
        conclude(exchange, transfer);
        return;
    }
    if (++exchange->redirects > mostRedirects) {
        conclude(exchange, failedTransfer(QStringLiteral("Too many redirects")));
        return;
    }
    exchange->url = *next;
    if (!asksToPostElsewhere(*transfer.status))
        exchange->body.clear(); // to be fetched, as everybody does, and 303 demands
    send(exchange);
}

void ChatClient::conclude(const std::shared_ptr<Exchange>& exchange, const ChatTransfer& transfer)
{
    const QString origin = originOf(exchange->url); // redirects stay there
    if (--m_underWay[origin] == 0)
        m_underWay.remove(origin);
    startWaiting();
    if (m_underWay.isEmpty()) {
        // A server may keep connections that it was asked to close. They do not serve the next call: one that died
        // while the machine slept swallows a request until its timeout; and between calls the program holds none.
        m_manager.clearConnectionCache();
    }
    const ChatVerdict verdict = verdictOn(transfer, exchange->apiKey);
    neloChatLog(verdict.logEntry);
    exchange->completion(verdict.outcome); // last: it may end this client
}
