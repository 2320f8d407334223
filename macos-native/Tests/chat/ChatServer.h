#pragma once

#include "support/HttpServer.h"
#include "support/TestHome.h"

/// A server that every provider's requests go to while it lives, with a temporary home for the chat's files.
class ChatServer
{
public:
    ChatServer();
    ChatServer(const ChatServer&) = delete;
    ChatServer& operator=(const ChatServer&) = delete;

    /// Lets requests go to `url` instead.
    static void setEndpoint(const QString& url);
    /// The log's messages, without their times.
    static QStringList logEntries();

    TestHome home;
    HttpServer server;

protected:
    ~ChatServer();
};

/// The body of a provider's answer that says `content`.
QByteArray replyBody(const QString& content);

/// The answer with that body.
HttpAnswer replyOf(const QString& content);

/// The messages of a request, each as "role: content".
QStringList messagesOf(const HttpRequest& request);

/// What a request asked: the content of its last message.
QString questionOf(const HttpRequest& request);
