#include "chat/client/ChatClient.h"
#include "chat/core/ChatService.h"

namespace {

/// The library's entry point: makes a `ChatClient` for the program that loads it.
class ChatClientPlugin final : public QObject, public ChatServiceFactory
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID ChatServiceFactory_iid)
    Q_INTERFACES(ChatServiceFactory)

public:
    std::unique_ptr<ChatService> makeChatService() const override { return std::make_unique<ChatClient>(); }
};

} // namespace

#include "ChatClientPlugin.moc"
