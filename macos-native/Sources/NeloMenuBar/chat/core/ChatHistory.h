#pragma once

#include "chat/core/NeloChatMessage.h"

class QDateTime;

/// Where the conversation is kept: ".nelo/menubar_chat_history.json" in the user's home. Creates the folder when it is
/// missing.
QString neloChatHistoryURL();

/// What loading found: the conversation, oldest first and however long, and whether there was a file that could not be
/// used. Without one that could, the conversation is empty.
struct LoadedChatHistory
{
    QList<NeloChatMessage> messages;
    bool isUnreadable = false;
};
LoadedChatHistory loadChatHistoryFile();

/// Only the conversation of it.
QList<NeloChatMessage> loadChatHistory();

/// Drops the oldest records beyond the 200 that are kept.
void capChatHistory(QList<NeloChatMessage>& messages);

/// Copies a history file that could not be used beside itself, under its name, ".unreadable." and `now` in the form
/// "yyyyMMdd-HHmmss", so that it may be replaced; one that cannot even be read is moved there. Returns whether nothing
/// is lost by a write to `path` now.
[[nodiscard]] bool preserveUnreadableHistory(const QString& path, const QDateTime& now);
