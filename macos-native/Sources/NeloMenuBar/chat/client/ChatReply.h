#pragma once

#include "chat/core/ChatOutcome.h"

#include <QByteArray>
#include <QUrl>

#include <optional>

/// The result of a transfer.
struct ChatTransfer
{
    std::optional<ChatTransportError> error; // the transfer did not complete; the other members do not count
    std::optional<int> status;               // nothing when the answer was not HTTP
    std::optional<QByteArray> body;          // nothing when the answer cannot have a body; a body may be empty
    QUrl target{};                           // the address that the server redirects to, or an empty one
};

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
