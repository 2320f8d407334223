#pragma once

#include "chat/client/ChatTransfer.h"

/// The outcome of a transfer, and the log's entry for it.
struct LoggedOutcome
{
    ChatOutcome outcome;
    QString logEntry;

    bool operator==(const LoggedOutcome&) const = default;
};

/// Decides the outcome of a transfer. It is a failure when the transfer has failed, when the status is not from 200 to
/// 299 (then the body is told), or when the body has not the expected shape. Otherwise it is the text of the first
/// choice without the blanks around it, or "(empty)" when there is no other text.
LoggedOutcome interpretChatReply(const ChatTransfer& transfer);
