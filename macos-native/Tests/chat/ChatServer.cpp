#include "chat/ChatServer.h"

#include "base/Json.h"
#include "chat/core/ChatLog.h"
#include "support/Files.h"

#include <QRegularExpression>

#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array endpointVariables{"NELO_OPENAI_BASE_URL", "NELO_DEEPSEEK_BASE_URL", "NELO_KIMI_BASE_URL"};

} // namespace

ChatServer::ChatServer()
{
    setEndpoint(server.url());
}

ChatServer::~ChatServer()
{
    for (const char* variable : endpointVariables)
        qunsetenv(variable);
}

void ChatServer::setEndpoint(const QString& url)
{
    for (const char* variable : endpointVariables)
        qputenv(variable, url.toUtf8());
}

QStringList ChatServer::logEntries()
{
    static const QRegularExpression time(u"^\\[[^]]*\\] "_s, QRegularExpression::MultilineOption);
    QString log = QString::fromUtf8(Files::contentOf(neloChatLogURL()));
    return log.remove(time).split(u'\n', Qt::SkipEmptyParts);
}

QByteArray replyBody(const QString& content)
{
    const Json message{{"role", "assistant"}, {"content", content}};
    const Json body{{"choices", Json::array({{{"index", 0}, {"message", message}}})}};
    return QByteArray::fromStdString(body.dump());
}

HttpAnswer replyOf(const QString& content)
{
    return HttpAnswer::message(200, replyBody(content));
}

QStringList messagesOf(const HttpRequest& request)
{
    QStringList messages;
    const Json body = parseJson(request.body.toStdString());
    for (const Json& message : body["messages"])
        messages.append(textOf(message, "role") + u": "_s + textOf(message, "content"));
    return messages;
}

QString questionOf(const HttpRequest& request)
{
    const Json body = parseJson(request.body.toStdString());
    return textOf(body["messages"].back(), "content");
}
