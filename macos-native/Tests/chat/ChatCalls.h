#pragma once

#include "chat/ChatServer.h"
#include "chat/client/ChatClient.h"

#include <chrono>
#include <vector>

/// A client, and the server of its calls.
class ChatCalls final : public ChatServer
{
public:
    explicit ChatCalls(const TransferLimits& limits = {});

    /// Asks `question`. Its outcome is appended to `outcomes` later.
    void start(const QString& question = QStringLiteral("hi"), const QString& apiKey = QStringLiteral("sk-test"));
    /// Asks and waits for the outcome.
    ChatOutcome ask(const QString& apiKey = QStringLiteral("sk-test"));

    /// Waits until there are `count` outcomes. Returns false when they do not come in time.
    bool waitForOutcomes(std::size_t count) const;

    std::unique_ptr<ChatClient> client;
    std::vector<ChatOutcome> outcomes; // in the order of their arrival
};

/// Returns the text of an answer, or the description of a failure in angle brackets.
QString textOf(const ChatOutcome& outcome);
