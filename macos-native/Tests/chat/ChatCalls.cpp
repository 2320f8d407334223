#include "chat/ChatCalls.h"

#include "chat/core/ChatReport.h"

#include <QTestEventLoop>

ChatCalls::ChatCalls(const TransferLimits& limits) : client(std::make_unique<ChatClient>(limits))
{}

void ChatCalls::start(const QString& question, const QString& apiKey)
{
    client->callChatAPI(QStringLiteral("openai"), QStringLiteral("gpt-4o-mini"),
                        {NeloChatMessage::now(QStringLiteral("user"), question)}, apiKey,
                        [this](const ChatOutcome& outcome) {
                            outcomes.push_back(outcome);
                            QTestEventLoop::instance().exitLoop();
                        });
}

ChatOutcome ChatCalls::ask(const QString& apiKey)
{
    outcomes.clear();
    start(QStringLiteral("hi"), apiKey);
    return waitForOutcomes(1) ? outcomes.back() : NeloChatError{QStringLiteral("no outcome")};
}

bool ChatCalls::waitForOutcomes(std::size_t count) const
{
    QTestEventLoop& loop = QTestEventLoop::instance();
    const int timeout = 30; // seconds
    do {
        if (outcomes.size() < count)
            loop.enterLoop(timeout);
    } while (outcomes.size() < count && !loop.timeout());
    return outcomes.size() == count;
}

QString textOf(const ChatOutcome& outcome)
{
    const auto* const reply = std::get_if<ChatText>(&outcome);
    return reply != nullptr ? reply->text : u'<' + errorDescription(outcome) + u'>';
}
