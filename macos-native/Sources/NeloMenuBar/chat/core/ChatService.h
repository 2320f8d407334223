#pragma once

#include "chat/core/ChatOutcome.h"
#include "chat/core/NeloChatMessage.h"

#include <QObject>

#include <functional>
#include <memory>

/// Sends conversations to the providers' chat-completions endpoints. Only the main thread may call.
///
/// The program loads the implementation, and with it the network library, with the first message, so that an idle
/// program does not have them in memory.
class ChatService
{
public:
    using Completion = std::function<void(const ChatOutcome&)>;

    ChatService() = default;
    ChatService(const ChatService&) = delete;
    ChatService& operator=(const ChatService&) = delete;
    virtual ~ChatService() = default;

    /// Sends the conversation to the endpoint of `provider`. Calls `completion` once, when the exchange has ended; when
    /// the endpoint's URL is invalid, that is before this function returns. `apiKey` goes to that endpoint's origin
    /// only. Several calls may be in flight. The destructor drops calls in flight without calling their `completion`.
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

/// The interface's name. It contains the version, so that a program that runs while it is upgraded does not load the
/// library of the new version.
#define ChatServiceFactory_iid "nelo.ChatServiceFactory/" NELO_VERSION
Q_DECLARE_INTERFACE(ChatServiceFactory, ChatServiceFactory_iid)

/// Loads the implementation from `file`. An empty `file` stands for the library that is installed with the program.
/// Never returns null: when the library cannot be loaded, every call of the returned service fails at once and gives
/// the reason.
std::unique_ptr<ChatService> loadChatService(const QString& file = QString());
