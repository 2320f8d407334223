#pragma once

#include "chat/core/ChatOutcome.h"

#include <QByteArray>
#include <QUrl>

#include <optional>

/// What a transfer brought.
struct ChatTransfer
{
    std::optional<ChatTransportError> error; // it did not complete; whatever else it brought does not count
    std::optional<int> status;               // nothing when what came was no HTTP
    std::optional<QByteArray> body;          // nothing when there was none, which is not the same as an empty one
    QUrl target{};                           // where the server says to go on; mostly empty
};

/// What a transfer means, and what the log says of it.
struct ChatVerdict
{
    ChatOutcome outcome;
    QString logEntry;

    bool operator==(const ChatVerdict&) const = default;
};

/// Decides what a transfer means: its failure, a status outside 200 to 299 with the body that came with it, or the text
/// of the first choice without the blanks around it, "(empty)" when nothing is left of it.
ChatVerdict interpretChatReply(const ChatTransfer& transfer);
