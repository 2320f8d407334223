#include "chat/core/NeloChatMessage.h"

#include "base/Json.h"
#include "base/Text.h"

#include <QDateTime>

namespace {

constexpr auto roleKey = "role";
constexpr auto contentKey = "content";
constexpr auto createdAtKey = "createdAt";

std::optional<NeloChatMessage> decode(const Json& record)
{
    for (const char* key : {roleKey, contentKey, createdAtKey}) {
        const auto member = record.find(key);
        if (member == record.end() || !member->is_string())
            return std::nullopt;
    }
    return NeloChatMessage{textOf(record, roleKey), textOf(record, contentKey), textOf(record, createdAtKey)};
}

} // namespace

bool isLocalGreeting(const QString& text)
{
    static const QStringList greetings{QStringLiteral("你好"), QStringLiteral("您好"), QStringLiteral("hello"),
                                       QStringLiteral("hi"),   QStringLiteral("嗨"),   QStringLiteral("在吗")};
    return greetings.contains(text.toLower());
}

NeloChatMessage NeloChatMessage::now(const QString& role, const QString& content)
{
    return {role, content, isoTimestamp(QDateTime::currentDateTimeUtc())};
}

QByteArray encodeChatMessages(const QList<NeloChatMessage>& messages)
{
    Json array = Json::array();
    for (const NeloChatMessage& message : messages) {
        array.push_back({{roleKey, message.role}, {contentKey, message.content}, {createdAtKey, message.createdAt}});
    }
    return QByteArray::fromStdString(array.dump());
}

std::optional<QList<NeloChatMessage>> decodeChatMessages(const QByteArray& json)
{
    const Json array = parseJson({json.constData(), static_cast<std::size_t>(json.size())});
    if (!array.is_array())
        return std::nullopt;
    QList<NeloChatMessage> messages;
    for (const Json& record : array) {
        const std::optional<NeloChatMessage> message = decode(record);
        if (!message)
            return std::nullopt;
        messages.append(*message);
    }
    return messages;
}
