#pragma once

#include "chat/core/ChatOutcome.h"
#include "chat/core/NeloChatMessage.h"

#include <QObject>

#include <functional>
#include <memory>

/// Asks the providers' chat-completions endpoints. For the main thread.
///
/// The idle program must not carry the network library, so whoever asks goes through this interface, and what
/// implements it is loaded with the first question.
class ChatService
{
public:
    using Completion = std::function<void(const ChatOutcome&)>;

    ChatService() = default;
    ChatService(const ChatService&) = delete;
    ChatService& operator=(const ChatService&) = delete;
    virtual ~ChatService() = default;

    /// Sends the conversation to the endpoint of `provider` and calls `completion` once, when the exchange has ended;
    /// at once when the endpoint's URL is invalid. `apiKey` goes to that endpoint's origin only. Several calls may be
    /// under way; each completes when its reply is there. A call whose service is gone does not complete.
    virtual void callChatAPI(const QString& provider, const QString& model, const QList<NeloChatMessage>& messages,
                             const QString& apiKey, const Completion& completion) = 0;
};

/// What the loadable library exports.
class ChatServiceFactory
{
public:
    ChatServiceFactory() = default;
    ChatServiceFactory(const ChatServiceFactory&) = delete;
    ChatServiceFactory& operator=(const ChatServiceFactory&) = delete;
    virtual ~ChatServiceFactory() = default;

    virtual std::unique_ptr<ChatService> makeChatService() const = 0;
};

/// Has the version in it: a program that runs while it is upgraded must not load the library of its successor.
#define ChatServiceFactory_iid "nelo.ChatServiceFactory/" NELO_VERSION
Q_DECLARE_INTERFACE(ChatServiceFactory, ChatServiceFactory_iid)

/// Loads what asks the endpoints from `file`, by default the library that is installed with the program. Never null:
/// when it cannot be loaded, what comes back completes every call at once with a failure that says why.
std::unique_ptr<ChatService> loadChatService(const QString& file = QString());
