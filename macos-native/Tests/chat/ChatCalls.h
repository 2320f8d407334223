#pragma once

#include "chat/client/ChatClient.h"
#include "support/HttpServer.h"
#include "support/TestHome.h"

#include <chrono>
#include <vector>

/// A client and a server that every provider's calls go to, with a temporary home for the log.
class ChatCalls final
{
public:
    explicit ChatCalls(const TransferLimits& limits = {});
    ChatCalls(const ChatCalls&) = delete;
    ChatCalls& operator=(const ChatCalls&) = delete;
    ~ChatCalls();

    /// Lets calls go to `url` instead.
    void setEndpoint(const QString& url);

    /// Asks `question`; the outcome goes to `outcomes`.
    void start(const QString& question = QStringLiteral("hi"), const QString& apiKey = QStringLiteral("sk-test"));
    /// Asks and waits for the outcome.
    ChatOutcome ask(const QString& apiKey = QStringLiteral("sk-test"));

    /// Waits until there are `count` outcomes; whether there are.
    bool waitForOutcomes(std::size_t count) const;

    /// The log's messages, without their times.
    QStringList logEntries() const;

    TestHome home;
    HttpServer server;
    std::unique_ptr<ChatClient> client;
    std::vector<ChatOutcome> outcomes; // in the order in which they came
};

/// The body of a provider's answer that says `content`.
QByteArray replyBody(const QString& content);

/// What a good answer says; its failure in angle brackets when it is none.
QString textOf(const ChatOutcome& outcome);

/// What a request asked: the content of its last message.
QString questionOf(const HttpRequest& request);
