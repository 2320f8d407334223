#pragma once

#include <QNetworkProxy>

class QUrl;

/// The proxy on the way to `url`, as the desktop says, but never one on the way to this machine itself. For a thread
/// that may wait: the desktop may have to fetch its rules first.
QNetworkProxy systemProxyFor(const QUrl& url);
