#pragma once

#include <QList>
#include <QString>

#include <optional>

inline const QString userRole = QStringLiteral("user");           // of a message that the user typed
inline const QString assistantRole = QStringLiteral("assistant"); // of a reply

/// The assistant's greeting, with which a conversation begins.
inline const QString neloWelcomeMessage = QStringLiteral("您好，nelo为您服务，我为您提供最简单的AI入口服务。");

/// Returns whether `text`, which has no blanks around it, is nothing but a greeting. The chat answers such a message
/// itself, without a provider.
bool isLocalGreeting(const QString& text);

/// One record of the conversation.
struct NeloChatMessage
{
    QString role;
    QString content;   // the text, as the chat shows it
    QString createdAt; // when it was appended: UTC in whole seconds, such as "2025-01-31T09:30:00Z"

    /// Returns a record that is created now.
    static NeloChatMessage now(const QString& role, const QString& content);

    bool operator==(const NeloChatMessage&) const = default;
};

/// Encodes the records, oldest first, as one compact JSON array of objects with the keys "role", "content" and
/// "createdAt". Half a surrogate pair is not text: it becomes a question mark.
QByteArray encodeChatMessages(const QList<NeloChatMessage>& messages);

/// Decodes such an array. Returns nothing when `json` is anything else, or when one element lacks one of the three keys
/// or has a value there that is no string. Other keys and a byte-order mark before the array are ignored.
std::optional<QList<NeloChatMessage>> decodeChatMessages(const QByteArray& json);
