#include "chat/core/ChatReport.h"

#include "base/Provider.h"
#include "chat/core/ChatLog.h"

QString errorDescription(const ChatOutcome& outcome)
{
    if (const auto* refused = std::get_if<NeloChatError>(&outcome))
        return refused->errorDescription();
    if (const auto* failed = std::get_if<ChatTransportError>(&outcome))
        return failed->errorDescription();
    return {};
}

ChatReport sendTriggeredReport()
{
    return {QStringLiteral("send triggered"), QStringLiteral("send triggered")};
}

ChatReport emptyInputReport()
{
    return {QStringLiteral("empty input"), QStringLiteral("send aborted: empty input")};
}

ChatReport localGreetingReport()
{
    return {QStringLiteral("local greeting"), QStringLiteral("local greeting handled")};
}

ChatReport missingKeyReport(const QString& model)
{
    const QString provider = Provider::ofModel(model);
    return {.status = QStringLiteral("missing api key"),
            .logEntry = QStringLiteral("send aborted: missing api key for provider=") + provider
                        + QStringLiteral(" model=") + model,
            .failure = QStringLiteral("Configure an API Key for ") + provider + QStringLiteral(" before sending.")};
}

ChatReport requestStartedReport(const QString& model, const QString& text)
{
    return {QStringLiteral("request started"),
            QStringLiteral("request started: provider=") + Provider::ofModel(model) + QStringLiteral(" model=") + model
                + QStringLiteral(" messageChars=") + QString::number(characterCount(text))};
}

ChatReport requestEndedReport(const ChatOutcome& outcome)
{
    if (const auto* answer = std::get_if<ChatText>(&outcome)) {
        return {.status = QStringLiteral("request succeeded"),
                .logEntry =
                    QStringLiteral("request succeeded: responseChars=") + QString::number(characterCount(answer->text)),
                .reply = answer->text};
    }
    const QString failure = errorDescription(outcome);
    return {.status = QStringLiteral("request failed"),
            .logEntry = QStringLiteral("request failed: ") + failure,
            .failure = failure};
}
