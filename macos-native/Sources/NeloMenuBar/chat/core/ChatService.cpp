#include "chat/core/ChatService.h"

#include <QCoreApplication>
#include <QDir>
#include <QPluginLoader>

namespace {

/// The service that is used when the library could not be loaded.
class MissingChatService final : public ChatService
{
public:
    explicit MissingChatService(QString reason) : m_reason(std::move(reason)) {}

    void callChatAPI(const QString& /*provider*/, const QString& /*model*/, const QList<NeloChatMessage>& /*messages*/,
                     const QString& /*apiKey*/, const Completion& completion) override
    {
        completion(NeloChatError{m_reason});
    }

private:
    QString m_reason;
};

QString installedLibrary()
{
    return QDir(QCoreApplication::applicationDirPath())
        .absoluteFilePath(QStringLiteral("../lib/nelo/nelo_chat_client"));
}

} // namespace

std::unique_ptr<ChatService> loadChatService(const QString& file)
{
    QPluginLoader loader(file.isEmpty() ? installedLibrary() : file);
    QObject* const library = loader.instance();
    if (!library)
        return std::make_unique<MissingChatService>(QStringLiteral("The network part of the chat cannot be loaded: ")
                                                    + loader.errorString());
    const auto* factory = qobject_cast<ChatServiceFactory*>(library);
    if (!factory)
        return std::make_unique<MissingChatService>(QStringLiteral(
            "The network part of the chat is that of another version. Please quit Nelo and start it again."));
    return factory->makeChatService(); // the library stays loaded until the program ends
}
