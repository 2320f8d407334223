#pragma once

#include "chat/client/CurlTransfer.h"
#include "chat/core/ChatService.h"

#include <QObject>

#include <memory>

class CurlWorker;

/// Sends conversations to the providers over HTTP. Another thread waits for the network. It runs while calls are under
/// way, and after the last one for as long as connections are kept.
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
    void complete(const std::shared_ptr<Exchange>& exchange, const ChatTransfer& transfer);
    void endWorker();

    TransferLimits m_limits;
    int m_callsUnderWay = 0;
    std::unique_ptr<CurlWorker> m_worker;
};
