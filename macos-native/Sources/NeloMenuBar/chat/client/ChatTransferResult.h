#pragma once

#include "chat/client/ChatReply.h"

class QNetworkReply;

/// The status that came so far; nothing when none did.
std::optional<int> statusOf(const QNetworkReply& reply);

/// What a finished network reply brought, with its library's view of what is an error put right: a status of 400 and
/// more is none, and neither is the end of the connection where nothing else ends the body.
ChatTransfer transferOf(QNetworkReply& reply);
