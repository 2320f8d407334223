#include "chat/client/ChatReply.h"
#include "chat/core/ChatReport.h"
#include "fuzz/Invariant.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

constexpr qsizetype maxFrameLength = 100; // of a text around what the provider sent

/// A provider's answer with one choice.
QByteArray answerOf(const QString& content)
{
    const QJsonObject message{{QStringLiteral("content"), content}};
    const QJsonObject choice{{QStringLiteral("message"), message}};
    const QByteArray json =
        QJsonDocument(QJsonObject{{QStringLiteral("choices"), QJsonArray{choice}}}).toJson(QJsonDocument::Compact);
    return QByteArray(json).replace("\ufeff",
                                    "\\ufeff"); // Qt's reader takes it for a byte-order mark where a text begins
}

void requireSense(int status, const QByteArray& body, const LoggedOutcome& result)
{
    const bool isSuccess = status >= 200 && status <= 299;
    const auto* const answer = std::get_if<ChatText>(&result.outcome);
    const QString error = errorDescription(result.outcome);
    require(result.logEntry.size() <= body.size() + maxFrameLength, "the log holds little more than the body");
    if (answer) {
        require(isSuccess, "nothing is an answer that has not succeeded");
        require(!answer->text.isEmpty() && answer->text == answer->text.trimmed(), "an answer has no blanks around it");
        require(answer->text.size() <= body.size() + maxFrameLength, "an answer is no longer than its body");
        require(result.logEntry.size() <= maxFrameLength, "the log counts an answer and does not quote it");
        return;
    }
    require(!error.isEmpty() && error.size() <= body.size() + maxFrameLength, "a refusal says why, and not at length");
    require(isSuccess || error.startsWith(QStringLiteral("HTTP %1: ").arg(status)), "a refusal names its status");
}

} // namespace

/// The first line is the status, what follows the body.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray input = QByteArray::fromStdString(bytesOf(data, size));
    const qsizetype lineEnd = input.indexOf('\n');
    if (lineEnd < 0)
        return 0;
    const int status = input.first(lineEnd).toInt();
    const QByteArray body = input.sliced(lineEnd + 1);
    requireSense(status, body, interpretChatReply({.error = {}, .status = status, .body = body}));

    const QString content = QString::fromUtf8(body);
    const QString expected = content.trimmed().isEmpty() ? QStringLiteral("(empty)") : content.trimmed();
    const LoggedOutcome result = interpretChatReply({.error = {}, .status = 200, .body = answerOf(content)});
    require(result.outcome == ChatOutcome(ChatText{expected}), "whatever a provider answers is what is shown");
    return 0;
}
