#include "chat/core/SendFlowTexts.h"

#include "chat/core/CharacterCount.h"

QString missingKeyEntry(const ChatTarget& target)
{
    return QStringLiteral("send aborted: missing api key for provider=") + target.provider + QStringLiteral(" model=")
           + target.model;
}

QString missingKeyText(const QString& provider)
{
    return QStringLiteral("Configure an API Key for ") + provider + QStringLiteral(" before sending.");
}

QString requestStartedEntry(const ChatTarget& target, const QString& text)
{
    return QStringLiteral("request started: provider=") + target.provider + QStringLiteral(" model=") + target.model
           + QStringLiteral(" messageChars=") + QString::number(characterCount(text));
}

QString apiKeyDialogText(const ChatTarget& target)
{
    return target.provider + QStringLiteral(" / ") + target.model;
}

QString apiKeyPlaceholder(const QString& provider)
{
    return provider.toUpper() + QStringLiteral(" API Key");
}

ChatConclusion conclusionOf(const ChatOutcome& outcome)
{
    if (const auto* answer = std::get_if<ChatText>(&outcome)) {
        return {QStringLiteral("request succeeded"),
                QStringLiteral("request succeeded: responseChars=") + QString::number(characterCount(answer->text)),
                answer->text, std::nullopt};
    }
    const QString failure = errorDescription(outcome);
    return {QStringLiteral("request failed"), QStringLiteral("request failed: ") + failure, std::nullopt, failure};
}
