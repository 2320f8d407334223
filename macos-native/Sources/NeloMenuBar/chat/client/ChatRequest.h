#pragma once

#include "chat/core/NeloChatMessage.h"

#include <QNetworkRequest>

#include <chrono>

/// The body of a request: a compact JSON object with the model, the role and content of every message in order, and no
/// streaming.
QByteArray chatRequestBody(const QString& model, const QList<NeloChatMessage>& messages);

/// Whether a key can be the value of a header: printable ASCII. A line break would end the header and begin another.
bool isHeaderValue(const QString& key);

/// A request to `url` with `apiKey`, which is a header value, that gives up when nothing moved for `patience`.
QNetworkRequest chatRequest(const QUrl& url, const QString& apiKey, std::chrono::milliseconds patience);

/// Scheme, host and port of `url`: what must be equal for a key to go along, and what connections are counted by.
QString originOf(const QUrl& url);

/// Where an answer with `status` that points to `target` leads on: to the same origin as `url` only, because the key
/// goes along. Nothing when the answer stands for itself.
std::optional<QUrl> redirectToFollow(const QUrl& url, int status, const QUrl& target);
