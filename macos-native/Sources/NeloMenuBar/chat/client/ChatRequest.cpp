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

QString originOf(const QUrl& url)
{
    const int port = url.port(url.scheme() == QLatin1StringView("https") ? 443 : 80);
    return QStringLiteral("%1://%2:%3").arg(url.scheme(), url.host()).arg(port); // QUrl has both in small letters
}

std::optional<ChatRequest> redirectToFollow(const ChatRequest& request, int status, const QUrl& target)
{
    constexpr std::array redirects{301, 302, 303, 307, 308};
    const QUrl next = request.url.resolved(target);
    const bool isRedirect =
        std::find(redirects.begin(), redirects.end(), status) != redirects.end() && !target.isEmpty();
    if (!isRedirect || originOf(request.url) != originOf(next))
        return std::nullopt;
    const bool postsAgain = status == 307 || status == 308; // 303 demands a GET; browsers use it for 301 and 302, too
    return ChatRequest{next, request.apiKey, postsAgain ? request.body : QByteArray(), /*needsNewConnection=*/true};
}
