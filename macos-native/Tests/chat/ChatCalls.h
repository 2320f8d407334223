#pragma once

#include "chat/ChatServer.h"
#include "chat/client/ChatClient.h"

#include <chrono>
#include <vector>

/// A client and a server that its calls go to.
class ChatCalls final : public ChatServer
{
public:
    explicit ChatCalls(const TransferLimits& limits = {});

    /// Asks `question`; the outcome goes to `outcomes`.
    void start(const QString& question = QStringLiteral("hi"), const QString& apiKey = QStringLiteral("sk-test"));
    /// Asks and waits for the outcome.
    ChatOutcome ask(const QString& apiKey = QStringLiteral("sk-test"));

    /// Waits until there are `count` outcomes; whether there are.
    bool waitForOutcomes(std::size_t count) const;

    std::unique_ptr<ChatClient> client;
    std::vector<ChatOutcome> outcomes; // in the order in which they came
};

/// What a good answer says; its failure in angle brackets when it is none.
QString textOf(const ChatOutcome& outcome);
