#pragma once

#include <QList>
#include <QString>

#include <optional>

/// One record of the conversation.
struct NeloChatMessage
{
    QString role;      // "user" for what was typed, "assistant" for what was answered
    QString content;   // the text as it is shown
    QString createdAt; // when it was appended: UTC in whole seconds, such as "2025-01-31T09:30:00Z"

    /// A record that is created now.
    static NeloChatMessage now(const QString& role, const QString& content);

    bool operator==(const NeloChatMessage&) const = default;
};

/// The records, oldest first, as one compact JSON array of objects with the keys "role", "content" and "createdAt". Any
/// text can be encoded, half a surrogate pair too.
QByteArray encodeChatMessages(const QList<NeloChatMessage>& messages);

/// The records of such an array. Nothing when `json` is anything else: when one element lacks one of the three keys, or
/// has a value there that is no string. Other keys are passed over, and a byte-order mark before the array too.
std::optional<QList<NeloChatMessage>> decodeChatMessages(const QByteArray& json);
