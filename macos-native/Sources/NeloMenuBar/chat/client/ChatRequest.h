#pragma once

#include "chat/core/NeloChatMessage.h"

#include <QUrl>

#include <optional>

/// What goes to an endpoint: the key with every request; the body when there is one, otherwise the URL is fetched.
struct ChatRequest
{
    QUrl url;
    QString apiKey;
    QByteArray body;
    bool needsNewConnection = false;
};

/// The body of a request: a compact JSON object with the model, the role and content of every message in order, and no
/// streaming.
QByteArray chatRequestBody(const QString& model, const QList<NeloChatMessage>& messages);

/// Whether a key can be the value of a header: printable ASCII. A line break would end the header and begin another.
bool isHeaderValue(const QString& key);

/// Scheme, host and port of `url`: what must be equal for a key to go along.
QString originOf(const QUrl& url);

/// The request that follows an answer with `status` that points to `target`: to the same origin only, because the key
/// goes along; and on a new connection, for a server may close the old one right after its answer. Nothing when the
/// answer stands for itself.
std::optional<ChatRequest> redirectToFollow(const ChatRequest& request, int status, const QUrl& target);
