#include "chat/core/ChatOutcome.h"

#include "chat/core/ChatLog.h"

QString errorDescription(const ChatOutcome& outcome)
{
    if (const auto* refused = std::get_if<NeloChatError>(&outcome))
        return refused->errorDescription();
    if (const auto* failed = std::get_if<ChatTransportError>(&outcome))
        return failed->errorDescription();
    return {};
}

ChatReport reportOf(const ChatOutcome& outcome)
{
    if (const auto* answer = std::get_if<ChatText>(&outcome)) {
        return {QStringLiteral("request succeeded"),
                QStringLiteral("request succeeded: responseChars=") + QString::number(characterCount(answer->text)),
                answer->text, std::nullopt};
    }
    const QString failure = errorDescription(outcome);
    return {QStringLiteral("request failed"), QStringLiteral("request failed: ") + failure, std::nullopt, failure};
}
