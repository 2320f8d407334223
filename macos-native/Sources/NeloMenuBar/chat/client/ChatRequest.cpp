#include "chat/client/ChatRequest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>

QByteArray chatRequestBody(const QString& model, const QList<NeloChatMessage>& messages)
{
    QJsonArray array;
    for (const NeloChatMessage& message : messages) {
        array.append(QJsonObject{{QStringLiteral("role"), message.role}, {QStringLiteral("content"), message.content}});
    }
    const QJsonObject body{
        {QStringLiteral("model"), model}, {QStringLiteral("messages"), array}, {QStringLiteral("stream"), false}};
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

bool isHeaderValue(const QString& key)
{
    return std::all_of(key.begin(), key.end(), [](QChar character) { return character >= u' ' && character <= u'~'; });
}

QNetworkRequest chatRequest(const QUrl& url, const QString& apiKey, std::chrono::milliseconds patience)
{
    QNetworkRequest request(url);
    request.setRawHeader("Authorization", "Bearer " + apiKey.toLatin1());
    // On a connection that was used before, a request stalls for 40 ms, because its head and body leave in two writes
    // and the second waits for the acknowledgement of the first; and it may meet the end of that connection, when
    // nobody can tell whether the server has read it.
    request.setRawHeader("Connection", "close");
    // Unpacked by ourselves: the library forgets how long a packed body should be, and takes what came of one that
    // breaks off for the whole.
    request.setRawHeader("Accept-Encoding", "gzip");
    request.setTransferTimeout(static_cast<int>(patience.count()));
    // The key is the only credential: no dialogue about passwords, in which the request would be sent again.
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    // A connection is for one exchange, where the newer protocol only costs its greeting.
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    return request;
}

QString originOf(const QUrl& url)
{
    const int port = url.port(url.scheme() == QLatin1StringView("https") ? 443 : 80);
    return QStringLiteral("%1://%2:%3").arg(url.scheme(), url.host()).arg(port); // in small letters already
}

std::optional<QUrl> redirectToFollow(const QUrl& url, int status, const QUrl& target)
{
    constexpr std::array statuses{301, 302, 303, 307, 308};
    const QUrl next = url.resolved(target);
    const bool leadsOn = std::find(statuses.begin(), statuses.end(), status) != statuses.end() && !target.isEmpty();
    return leadsOn && originOf(url) == originOf(next) ? std::optional(next) : std::nullopt;
}
