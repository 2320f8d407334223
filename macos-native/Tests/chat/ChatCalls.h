#pragma once

#include "chat/ChatServer.h"
#include "chat/client/ChatClient.h"
#include "chat/core/ChatReport.h"

#include <QTestEventLoop>

#include <memory>
#include <vector>

/// A client, and the server of its calls.
class ChatCalls final : public ChatServer
{
public:
    explicit ChatCalls(const TransferLimits& limits = {}) : client(std::make_unique<ChatClient>(limits)) {}

    /// Asks `question`. Its outcome is appended to `outcomes` later.
    void start(const QString& question = QStringLiteral("hi"), const QString& apiKey = QStringLiteral("sk-test"))
    {
        client->callChatAPI(QStringLiteral("openai"), QStringLiteral("gpt-4o-mini"),
                            {NeloChatMessage::now(QStringLiteral("user"), question)}, apiKey,
                            [this](const ChatOutcome& outcome) {
                                outcomes.push_back(outcome);
                                QTestEventLoop::instance().exitLoop();
                            });
    }

    /// Asks and waits for the outcome.
    ChatOutcome ask(const QString& apiKey = QStringLiteral("sk-test"))
    {
        outcomes.clear();
        start(QStringLiteral("hi"), apiKey);
        return waitForOutcomes(1) ? outcomes.back() : NeloChatError{QStringLiteral("no outcome")};
    }

    /// Waits until there are `count` outcomes. Returns false when they do not come in time.
    bool waitForOutcomes(std::size_t count) const
    {
        QTestEventLoop& loop = QTestEventLoop::instance();
        const int timeout = 30; // seconds
        do {
            if (outcomes.size() < count)
                loop.enterLoop(timeout);
        } while (outcomes.size() < count && !loop.timeout());
        return outcomes.size() == count;
    }

    std::unique_ptr<ChatClient> client;
    std::vector<ChatOutcome> outcomes; // in the order of their arrival
};

/// Returns the text of an answer, or the description of a failure in angle brackets.
inline QString outcomeText(const ChatOutcome& outcome)
{
    const auto* const reply = std::get_if<ChatText>(&outcome);
    return reply != nullptr ? reply->text : u'<' + errorDescription(outcome) + u'>';
}
