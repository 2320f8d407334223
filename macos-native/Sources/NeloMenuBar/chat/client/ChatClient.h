#pragma once

#include "chat/client/ChatReply.h"
#include "chat/core/ChatService.h"

#include <QHash>
#include <QNetworkAccessManager>
#include <QObject>

#include <chrono>
#include <functional>
#include <memory>

/// Asks the endpoints on one `QNetworkAccessManager`.
class ChatClient final : public QObject, public ChatService
{
    Q_OBJECT

public:
    static constexpr std::chrono::seconds defaultPatience{60};

    /// `patience` is how long a transfer may stay silent.
    explicit ChatClient(std::chrono::milliseconds patience = defaultPatience, QObject* parent = nullptr);

    void callChatAPI(const QString& provider, const QString& model, const QList<NeloChatMessage>& messages,
                     const QString& apiKey, const Completion& completion) override;

private:
    struct Exchange;

    void startWaiting();
    void send(const std::shared_ptr<Exchange>& exchange);
    QNetworkReply* fetch(const Exchange& exchange);
    QNetworkReply* post(const Exchange& exchange);
    void receive(const std::shared_ptr<Exchange>& exchange, QNetworkReply* reply);
    void conclude(const std::shared_ptr<Exchange>& exchange, const ChatTransfer& transfer);

    std::chrono::milliseconds m_patience;
    QList<std::shared_ptr<Exchange>> m_waiting;
    QHash<QString, int> m_underWay; // exchanges, by their origin; only origins that have some
    QNetworkAccessManager m_manager;
};
