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
