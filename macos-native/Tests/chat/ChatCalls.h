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

    /// Waits until there are `count` outcomes. Returns false when they do not come in time.
    bool waitForOutcomes(std::size_t count) const;

    std::unique_ptr<ChatClient> client;
    std::vector<ChatOutcome> outcomes; // in the order in which they came
};

/// Returns the text of an answer, or the description of a failure in angle brackets.
QString textOf(const ChatOutcome& outcome);
