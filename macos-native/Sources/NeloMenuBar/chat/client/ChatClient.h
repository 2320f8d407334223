#pragma once

#include "chat/ChatOutcome.h"
#include "chat/NeloChatMessage.h"
#include "chat/client/ChatReply.h"

#include <QNetworkAccessManager>
#include <QObject>
#include <QQueue>

#include <chrono>
#include <functional>
#include <memory>

/// Asks the providers' chat-completions endpoints. For the main thread.
class ChatClient final : public QObject
{
    Q_OBJECT

public:
    using Completion = std::function<void(const ChatOutcome&)>;

    /// `patience` is how long a transfer may stay silent.
    explicit ChatClient(std::chrono::milliseconds patience = std::chrono::seconds(60), QObject* parent = nullptr);

    /// Sends the conversation to the endpoint of `provider` and calls `completion` once, when the exchange has ended;
    /// at once when the endpoint's URL is invalid. `apiKey` goes to that endpoint's origin only. Several calls may be
    /// under way; each completes when its reply is there. A call whose client is gone does not complete.
    void callChatAPI(const QString& provider, const QString& model, const QList<NeloChatMessage>& messages,
                     const QString& apiKey, const Completion& completion);

private:
    struct Exchange;

    void startWaiting();
    void send(const std::shared_ptr<Exchange>& exchange);
    QNetworkReply* fetch(const Exchange& exchange);
    QNetworkReply* post(const Exchange& exchange);
    void receive(const std::shared_ptr<Exchange>& exchange, QNetworkReply* reply);
    void conclude(const std::shared_ptr<Exchange>& exchange, const ChatTransfer& transfer);

    std::chrono::milliseconds m_patience;
    QQueue<std::shared_ptr<Exchange>> m_waiting;
    int m_underWay = 0;                 // exchanges
    bool m_connectionsWereUsed = false; // for a request that is over
    QNetworkAccessManager m_manager;
};
