#pragma once

#include <QList>
#include <QString>

#include <optional>

inline const QString userRole = QStringLiteral("user");           // of what the user typed
inline const QString assistantRole = QStringLiteral("assistant"); // of what was answered

/// One record of the conversation.
struct NeloChatMessage
{
    QString role;
    QString content;   // the text as it is shown
    QString createdAt; // when it was appended: UTC in whole seconds, such as "2025-01-31T09:30:00Z"

    /// Returns a record that is created now.
    static NeloChatMessage now(const QString& role, const QString& content);

    bool operator==(const NeloChatMessage&) const = default;
};

/// Encodes the records, oldest first, as one compact JSON array of objects with the keys "role", "content" and
/// "createdAt". Half a surrogate pair, which is no text, becomes a question mark.
QByteArray encodeChatMessages(const QList<NeloChatMessage>& messages);

/// Decodes such an array. Returns nothing when `json` is anything else: when one element lacks one of the three keys,
/// or has a value there that is no string. Other keys are ignored, and a byte-order mark before the array too.
std::optional<QList<NeloChatMessage>> decodeChatMessages(const QByteArray& json);
