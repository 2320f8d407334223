#pragma once

#include "chat/client/CurlTransfer.h"
#include "chat/core/ChatService.h"

#include <QObject>

#include <memory>

class CurlWorker;

/// Asks the endpoints. Everything that waits for the network is another thread's, which is there while calls are under
/// way and as long after the last one as connections are kept.
class ChatClient final : public QObject, public ChatService
{
    Q_OBJECT

public:
    explicit ChatClient(TransferLimits limits = {}, QObject* parent = nullptr);
    ~ChatClient() override;

    void callChatAPI(const QString& provider, const QString& model, const QList<NeloChatMessage>& messages,
                     const QString& apiKey, const Completion& completion) override;

private:
    struct Exchange;

    bool startWorker();
    void send(const std::shared_ptr<Exchange>& exchange);
    void receive(const std::shared_ptr<Exchange>& exchange, const ChatTransfer& transfer);
    void conclude(const std::shared_ptr<Exchange>& exchange, const ChatTransfer& transfer);
    void endWorker();

    TransferLimits m_limits;
    int m_underWay = 0; // exchanges
    std::unique_ptr<CurlWorker> m_worker;
};
