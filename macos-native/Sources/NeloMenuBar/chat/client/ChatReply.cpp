#include "chat/client/ChatReply.h"

#include "base/Text.h"
#include "chat/core/ChatLog.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

/// Returns the text of the first choice in a provider's answer, or nothing when the answer has another shape. Read with
/// Qt's JSON: `Json` refuses half of a surrogate pair, which a provider that shortens a text may send.
std::optional<QString> firstChoiceContent(const QByteArray& json)
{
    const QJsonArray choices = QJsonDocument::fromJson(json).object()[QLatin1StringView("choices")].toArray();
    const bool areObjects =
        std::all_of(choices.begin(), choices.end(), [](QJsonValueConstRef choice) { return choice.isObject(); });
    if (choices.isEmpty() || !areObjects)
        return std::nullopt;
    const QJsonObject message = choices.first()[QLatin1StringView("message")].toObject();
    const QJsonValue content = message[QLatin1StringView("content")];
    return content.isString() ? std::optional(content.toString()) : std::nullopt;
}

LoggedOutcome refusal(const QString& message, const QString& logEntry)
{
    return {NeloChatError{message}, QStringLiteral("callChatAPI ") + logEntry};
}

LoggedOutcome success(int status, const QString& content)
{
    const QString text = content.trimmed();
    return {ChatText{text.isEmpty() ? QStringLiteral("(empty)") : text},
            QStringLiteral("callChatAPI success: status=%1 responseChars=%2").arg(status).arg(characterCount(text))};
}

} // namespace

LoggedOutcome interpretChatReply(const ChatTransfer& transfer)
{
    if (transfer.error)
        return {*transfer.error, QStringLiteral("callChatAPI transport error: ") + transfer.error->text};
    if (!transfer.status)
        return refusal(QStringLiteral("invalid response"), QStringLiteral("invalid response type"));

    const int status = *transfer.status;
    if (!transfer.body) {
        return refusal(QStringLiteral("empty response"), QStringLiteral("empty response body, status=%1").arg(status));
    }
    if (status < 200 || status > 299) {
        const QString body = decodeUtf8(*transfer.body).value_or(QString());
        return refusal(QStringLiteral("HTTP %1: ").arg(status) + body,
                       QStringLiteral("HTTP error: status=%1 body=").arg(status) + body);
    }
    const std::optional<QString> content = firstChoiceContent(*transfer.body);
    if (!content) {
        return refusal(QStringLiteral("response missing choices"),
                       QStringLiteral("parse error: missing choices body=")
                           + decodeUtf8(*transfer.body).value_or(QString()));
    }
    return success(status, *content);
}
