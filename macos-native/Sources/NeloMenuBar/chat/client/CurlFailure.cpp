#include "chat/client/CurlFailure.h"

#include <QUrl>

ChatTransportError curlFailure(const QUrl& url, CURLcode code, const QString& details)
{
    const bool isOfUse = !details.isEmpty() && !details.contains(url.host());
    return failureInOwnWords(url, isOfUse ? details : QString::fromLatin1(curl_easy_strerror(code)));
}

ChatTransportError failureInOwnWords(const QUrl& url, const QString& words)
{
    return {url.host().isEmpty() ? words : url.host() + QStringLiteral(": ") + words};
}
