#include "chat/core/ChatService.h"

#include "support/Files.h"
#include "support/TestCase.h"
#include "support/TestHome.h"

#include <QTemporaryDir>

using namespace Qt::StringLiterals;

/// Loading the library that asks the endpoints. This test, like the program, is not linked with network libraries.
class TestChatService final : public TestCase
{
    Q_OBJECT

private slots:
    void theNetworkLibrariesComeWithTheService()
    {
        const TestHome home;
        QVERIFY(!hasNetworkLibraries());
        const std::unique_ptr<ChatService> service = loadChatService();
        QVERIFY(hasNetworkLibraries());

        qputenv("NELO_OPENAI_BASE_URL", "no URL at all");
        QVERIFY(ask(*service) == ChatOutcome(NeloChatError{u"invalid URL"_s})); // the answer of the real service
        qunsetenv("NELO_OPENAI_BASE_URL");
    }

    void aMissingLibraryIsAFailure()
    {
        for (const QString& file : {u"/no/such/library.so"_s, u"/etc/passwd"_s}) {
            const ChatOutcome outcome = ask(*loadChatService(file));
            const auto* failure = std::get_if<NeloChatError>(&outcome);
            QVERIFY(failure);
            QVERIFY(failure->message.startsWith(u"The network part of the chat cannot be loaded: "_s));
        }
    }

    void theLibraryOfAnotherVersionIsAFailure()
    {
        const QByteArray version(NELO_VERSION);
        QByteArray content = Files::contentOf(installedLibrary());
        content.replace("nelo.ChatServiceFactory/" + version,
                        "nelo.ChatServiceFactory/" + QByteArray(version.size(), '9'));
        QVERIFY(content != Files::contentOf(installedLibrary()));
        const QTemporaryDir folder;
        const QString upgraded = folder.filePath(u"nelo_chat_client.so"_s);
        Files::create(upgraded, content);

        const std::unique_ptr<ChatService> service = loadChatService(upgraded);
        const NeloChatError failure{u"The network part of the chat is that of another version. "
                                    "Please quit Nelo and start it again."_s};
        QVERIFY(ask(*service) == ChatOutcome(failure));
    }

private:
    static bool hasNetworkLibraries()
    {
        const QByteArray maps = Files::contentOf(u"/proc/self/maps"_s);
        return maps.contains("Qt6Network") || maps.contains("libcurl");
    }
    static QString installedLibrary()
    {
        return QCoreApplication::applicationDirPath() + u"/../lib/nelo/nelo_chat_client.so"_s;
    }
    static ChatOutcome ask(ChatService& service)
    {
        std::optional<ChatOutcome> result;
        service.callChatAPI(u"openai"_s, u"gpt-4o-mini"_s, {{u"user"_s, u"hi"_s, QString()}}, u"key"_s,
                            [&result](const ChatOutcome& outcome) { result = outcome; });
        return result.value_or(ChatText{u"no outcome"_s});
    }
};

QTEST_GUILESS_MAIN(TestChatService)
#include "TestChatService.moc"
