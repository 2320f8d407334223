#pragma once

#include "chat/core/Conversation.h"
#include "support/Files.h"

/// Returns the messages of the history file. The list is empty when there is no usable file.
inline QList<NeloChatMessage> storedMessages()
{
    return decodeChatMessages(Files::contentOf(neloChatHistoryURL())).value_or(QList<NeloChatMessage>());
}

/// Puts `json` in the place of the history file.
inline void storeHistory(const QByteArray& json)
{
    Files::create(neloChatHistoryURL(), json);
}
