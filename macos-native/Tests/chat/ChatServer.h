#pragma once

#include "base/Json.h"
#include "chat/core/ChatLog.h"
#include "support/Files.h"
#include "support/HttpServer.h"
#include "support/TestHome.h"

#include <QRegularExpression>

#include <array>

/// A server that gets the requests for every provider while it lives, and a temporary home for the files of the chat.
class ChatServer
{
public:
    ChatServer() { setEndpoint(server.url()); }
    ChatServer(const ChatServer&) = delete;
    ChatServer& operator=(const ChatServer&) = delete;

    /// Sends requests to `url` instead.
    static void setEndpoint(const QString& url)
    {
        for (const char* variable : endpointVariables)
            qputenv(variable, url.toUtf8());
    }

    /// Returns the messages of the log without their times.
    static QStringList logEntries()
    {
        static const QRegularExpression time(QStringLiteral("^\\[[^]]*\\] "), QRegularExpression::MultilineOption);
        QString log = QString::fromUtf8(Files::contentOf(neloChatLogURL()));
        return log.remove(time).split(u'\n', Qt::SkipEmptyParts);
    }

    TestHome home;
    HttpServer server;

protected:
    ~ChatServer()
    {
        for (const char* variable : endpointVariables)
            qunsetenv(variable);
    }

private:
    static constexpr std::array endpointVariables{"NELO_OPENAI_BASE_URL", "NELO_DEEPSEEK_BASE_URL",
                                                  "NELO_KIMI_BASE_URL"};
};

/// Returns the body of an answer whose text is `content`.
inline QByteArray replyBody(const QString& content)
{
    const Json message{{"role", "assistant"}, {"content", content}};
    const Json body{{"choices", Json::array({{{"index", 0}, {"message", message}}})}};
    return QByteArray::fromStdString(body.dump());
}

/// Returns the answer with that body.
inline HttpAnswer replyOf(const QString& content)
{
    return HttpAnswer::message(200, replyBody(content));
}

/// Returns the messages of a request, each as "role: content".
inline QStringList messagesOf(const HttpRequest& request)
{
    QStringList messages;
    const Json body = parseJson(request.body.toStdString());
    for (const Json& message : body["messages"])
        messages.append(textOf(message, "role") + QStringLiteral(": ") + textOf(message, "content"));
    return messages;
}

/// Returns the content of the last message of a request.
inline QString questionOf(const HttpRequest& request)
{
    const Json body = parseJson(request.body.toStdString());
    return textOf(body["messages"].back(), "content");
}
