#pragma once

#include "chat/core/ChatOutcome.h"

#include <curl/curl.h>

class QUrl;

/// Why a transfer to `url` failed: the host, and libcurl's words: `details`, what it says of this failure, or what it
/// says of every failure with `code` when there are none, or when they would name the host a second time.
ChatTransportError curlFailure(const QUrl& url, CURLcode code, const QString& details = QString());

/// The same in our own words.
ChatTransportError failureInOwnWords(const QUrl& url, const QString& words);
