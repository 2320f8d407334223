#include "chat/ChatService.h"

#include "support/Files.h"
#include "support/TestHome.h"
#include "support/Warnings.h"

#include <QLibraryInfo>

using namespace Qt::StringLiterals;

/// Loading what asks the endpoints. This program, like the real one, is not linked with the network library.
class TestChatService final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void theNetworkLibraryComesWithTheService();
    void aMissingLibraryIsAFailure_data();
    void aMissingLibraryIsAFailure();

private:
    static bool hasNetworkLibrary() { return Files::contentOf(u"/proc/self/maps"_s).contains("Qt6Network"); }
    static ChatOutcome ask(ChatService& service)
    {
        std::optional<ChatOutcome> result;
        service.callChatAPI(u"openai"_s, u"gpt-4o-mini"_s, {{u"user"_s, u"hi"_s, QString()}}, u"key"_s,
                            [&result](const ChatOutcome& outcome) { result = outcome; });
        return result.value_or(ChatText{u"no outcome"_s});
    }
};

void TestChatService::init()
{
    failOnUnexpectedWarning();
}

void TestChatService::theNetworkLibraryComesWithTheService()
{
    const TestHome home;
    QVERIFY(!hasNetworkLibrary());
    const std::unique_ptr<ChatService> service = loadChatService();
    QVERIFY(hasNetworkLibrary());

    qputenv("NELO_OPENAI_BASE_URL", "no URL at all");
    QVERIFY(ask(*service) == ChatOutcome(NeloChatError{u"invalid URL"_s})); // the real one's answer
    qunsetenv("NELO_OPENAI_BASE_URL");
}

void TestChatService::aMissingLibraryIsAFailure_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("no file") << u"/no/such/library.so"_s;
    QTest::newRow("no library") << u"/etc/passwd"_s;
    QTest::newRow("another library") << QLibraryInfo::path(QLibraryInfo::PluginsPath) + u"/imageformats/libqgif.so"_s;
}

void TestChatService::aMissingLibraryIsAFailure()
{
    QFETCH(QString, file);
    const std::unique_ptr<ChatService> service = loadChatService(file);
    const ChatOutcome outcome = ask(*service);
    const auto* failure = std::get_if<NeloChatError>(&outcome);
    QVERIFY(failure);
    QVERIFY(failure->message.startsWith(u"The network part of the chat cannot be loaded: "_s));
}

QTEST_GUILESS_MAIN(TestChatService)
#include "TestChatService.moc"
