#pragma once

#include "chat/core/NeloChatMessage.h"

#include <QUrl>

#include <optional>

/// A request to an endpoint.
struct ChatRequest
{
    QUrl url;
    QString apiKey;
    QByteArray body; // it is sent with POST; without a body the request is a GET
    bool needsNewConnection = false;
};

/// Returns the body of a request: a compact JSON object with the model, the role and content of every message in order,
/// and no streaming.
QByteArray chatRequestBody(const QString& model, const QList<NeloChatMessage>& messages);

/// Returns whether `key` can be the value of a header: it is printable ASCII. A line break would end the header and
/// begin another one.
bool isHeaderValue(const QString& key);

/// Returns the scheme, host and port of `url`. A key is only ever sent to one origin.
QString originOf(const QUrl& url);

/// Returns the request that follows an answer with `status` and the redirect target `target`. Returns nothing when the
/// answer is no redirect, or when it leads to another origin: the key goes with the request. The request uses a new
/// connection, because some servers close the old one right after a redirect.
std::optional<ChatRequest> redirectToFollow(const ChatRequest& request, int status, const QUrl& target);
