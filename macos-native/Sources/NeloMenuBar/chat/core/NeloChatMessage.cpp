#include "chat/core/NeloChatMessage.h"

#include "base/Text.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

constexpr QLatin1StringView roleKey("role");
constexpr QLatin1StringView contentKey("content");
constexpr QLatin1StringView createdAtKey("createdAt");

std::optional<NeloChatMessage> decode(const QJsonObject& object)
{
    const QJsonValue role = object[roleKey];
    const QJsonValue content = object[contentKey];
    const QJsonValue createdAt = object[createdAtKey];
    if (!role.isString() || !content.isString() || !createdAt.isString())
        return std::nullopt;
    return NeloChatMessage{role.toString(), content.toString(), createdAt.toString()};
}

/// Whether every backslash begins an escape of JSON's. Of others Qt's reader keeps only what follows, so that the text
/// would not be written again as it stood.
bool hasOnlyKnownEscapes(const QByteArray& json)
{
    for (qsizetype at = json.indexOf('\\'); at >= 0; at = json.indexOf('\\', at + 2)) {
        if (at + 1 == json.size() || !QByteArrayView("\"\\/bfnrtu").contains(json[at + 1]))
            return false;
    }
    return true;
}

} // namespace

NeloChatMessage NeloChatMessage::now(const QString& role, const QString& content)
{
    return {role, content, isoTimestamp(QDateTime::currentDateTimeUtc())};
}

QByteArray encodeChatMessages(const QList<NeloChatMessage>& messages)
{
    QJsonArray array;
    for (const NeloChatMessage& message : messages) {
        array.append(
            QJsonObject{{roleKey, message.role}, {contentKey, message.content}, {createdAtKey, message.createdAt}});
    }
    QByteArray json = QJsonDocument(array).toJson(QJsonDocument::Compact);
    // Qt's reader takes this character at the beginning of a text for a byte-order mark, and away.
    return json.replace("\ufeff", "\\ufeff");
}

std::optional<QList<NeloChatMessage>> decodeChatMessages(const QByteArray& json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isArray() || !hasOnlyKnownEscapes(json))
        return std::nullopt;
    QList<NeloChatMessage> messages;
    const QJsonArray array = document.array();
    for (const QJsonValueConstRef element : array) {
        const std::optional<NeloChatMessage> message = decode(element.toObject());
        if (!message)
            return std::nullopt;
        messages.append(*message);
    }
    return messages;
}
