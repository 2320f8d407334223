#pragma once

#include "support/HttpServer.h"
#include "support/TestHome.h"

/// A server that gets the requests for every provider while it lives, and a temporary home for the files of the chat.
class ChatServer
{
public:
    ChatServer();
    ChatServer(const ChatServer&) = delete;
    ChatServer& operator=(const ChatServer&) = delete;

    /// Sends requests to `url` instead.
    static void setEndpoint(const QString& url);
    /// Returns the messages of the log without their times.
    static QStringList logEntries();

    TestHome home;
    HttpServer server;

protected:
    ~ChatServer();
};

/// Returns the body of an answer whose text is `content`.
QByteArray replyBody(const QString& content);

/// Returns the answer with that body.
HttpAnswer replyOf(const QString& content);

/// Returns the messages of a request, each as "role: content".
QStringList messagesOf(const HttpRequest& request);

/// Returns the content of the last message of a request.
QString questionOf(const HttpRequest& request);
