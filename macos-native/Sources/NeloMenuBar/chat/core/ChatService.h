#pragma once

#include "chat/core/ChatOutcome.h"
#include "chat/core/NeloChatMessage.h"

#include <QObject>

#include <functional>
#include <memory>

/// Sends conversations to the providers' chat-completions endpoints. Only the main thread may call.
///
/// The program loads the implementation, and with it the network library, with the first message: the idle program has
/// no need of them.
class ChatService
{
public:
    using Completion = std::function<void(const ChatOutcome&)>;

    ChatService() = default;
    ChatService(const ChatService&) = delete;
    ChatService& operator=(const ChatService&) = delete;
    virtual ~ChatService() = default;

    /// Sends the conversation to the endpoint of `provider`, and calls `completion` once when the exchange has ended,
    /// or before it returns when the endpoint's URL is invalid. `apiKey` goes to that endpoint's origin only. Several
    /// calls may be in flight; each completes when its reply is there. The destructor drops all that have not
    /// completed.
    virtual void callChatAPI(const QString& provider, const QString& model, const QList<NeloChatMessage>& messages,
                             const QString& apiKey, const Completion& completion) = 0;
};

/// The interface that the loadable library exports.
class ChatServiceFactory
{
public:
    ChatServiceFactory() = default;
    ChatServiceFactory(const ChatServiceFactory&) = delete;
    ChatServiceFactory& operator=(const ChatServiceFactory&) = delete;
    virtual ~ChatServiceFactory() = default;

    virtual std::unique_ptr<ChatService> makeChatService() const = 0;
};

/// It contains the version: a program that runs while it is upgraded must not load the library of its successor.
#define ChatServiceFactory_iid "nelo.ChatServiceFactory/" NELO_VERSION
Q_DECLARE_INTERFACE(ChatServiceFactory, ChatServiceFactory_iid)

/// Loads the implementation from `file`, by default the library that is installed with the program. Never returns null:
/// when the library cannot be loaded, the service that is returned completes every call at once with a failure that
/// gives the reason.
std::unique_ptr<ChatService> loadChatService(const QString& file = QString());
