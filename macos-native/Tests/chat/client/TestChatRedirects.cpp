#include "chat/ChatCalls.h"
#include "chat/client/ChatRequest.h"
#include "support/Warnings.h"

#include <QTest>

/// Where a call may be sent on, and that the key never leaves its origin.
class TestChatRedirects final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_calls = std::make_unique<ChatCalls>();
    }

    void cleanup() { m_calls.reset(); }

    void onlyTheSameOriginIsFollowed_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("next");
        const QString from = QStringLiteral("https://api.example/v1/chat");
        QTest::newRow("an absolute path") << from << QStringLiteral("/v2") << QStringLiteral("https://api.example/v2");
        QTest::newRow("a relative path") << from << QStringLiteral("x") << QStringLiteral("https://api.example/v1/x");
        QTest::newRow("a query") << from << QStringLiteral("?a=1") << QStringLiteral("https://api.example/v1/chat?a=1");
        QTest::newRow("the whole URL") << from << QStringLiteral("https://api.example/")
                                       << QStringLiteral("https://api.example/");
        QTest::newRow("the scheme's own port")
            << from << QStringLiteral("https://api.example:443/") << QStringLiteral("https://api.example:443/");
        QTest::newRow("capital letters in host and scheme")
            << from << QStringLiteral("HTTPS://API.Example/x") << QStringLiteral("https://api.example/x");
        QTest::newRow("another host") << from << QStringLiteral("https://evil.example/") << QString();
        QTest::newRow("another host without a scheme") << from << QStringLiteral("//evil.example/v1") << QString();
        QTest::newRow("a host below it") << from << QStringLiteral("https://www.api.example/") << QString();
        QTest::newRow("the host as a name before another")
            << from << QStringLiteral("https://api.example@evil.example/") << QString();
        QTest::newRow("another port") << from << QStringLiteral("https://api.example:8443/") << QString();
        QTest::newRow("without encryption") << from << QStringLiteral("http://api.example/") << QString();
        QTest::newRow("without encryption on the same port")
            << from << QStringLiteral("http://api.example:443/") << QString();
        QTest::newRow("with encryption") << QStringLiteral("http://api.example/")
                                         << QStringLiteral("https://api.example/") << QString();
        QTest::newRow("a file") << from << QStringLiteral("file:///etc/passwd") << QString();
        QTest::newRow("nowhere") << from << QString() << QString();
    }

    void onlyTheSameOriginIsFollowed()
    {
        QFETCH(QString, from);
        QFETCH(QString, target);
        QFETCH(QString, next);
        const ChatRequest request{QUrl(from), QStringLiteral("key"), "body"};
        for (const int status : {301, 302, 303, 307, 308}) {
            const std::optional<ChatRequest> following = redirectToFollow(request, status, QUrl(target));
            QCOMPARE(following ? following->url : QUrl(), QUrl(next));
        }
        for (const int status : {0, 200, 201, 300, 304, 305, 306, 309, 404})
            QVERIFY(!redirectToFollow(request, status, QUrl(target)));
    }

    void theSameOriginAnswersInTheEnd_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("method");
        QTest::newRow("301 fetches") << 301 << QByteArray("GET");
        QTest::newRow("302 fetches") << 302 << QByteArray("GET");
        QTest::newRow("303 fetches") << 303 << QByteArray("GET");
        QTest::newRow("307 posts again") << 307 << QByteArray("POST");
        QTest::newRow("308 posts again") << 308 << QByteArray("POST");
    }

    void theSameOriginAnswersInTheEnd()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, method);
        HttpServer& server = m_calls->server;
        server.answerInTurn(
            {HttpAnswer::redirect(status, "/next"), HttpAnswer::message(200, replyBody(QStringLiteral("hello")))});
        QCOMPARE(textOf(m_calls->ask()), QStringLiteral("hello"));
        QCOMPARE(server.requests().size(), 2);
        const HttpRequest& second = server.requests().last();
        QCOMPARE(second.method, method);
        QCOMPARE(second.target, QByteArray("/next"));
        QCOMPARE(second.header("Authorization"), QByteArray("Bearer sk-test"));
        QCOMPARE(second.body, method == "POST" ? server.requests().first().body : QByteArray());
        QCOMPARE(m_calls->logEntries().size(), 2);
    }

    void anotherOriginIsAnHttpFailure_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("encrypted");
        for (const int status : {301, 302, 303, 307, 308}) {
            QTest::addRow("%d to another port", status) << status << false;
            QTest::addRow("%d to another scheme", status) << status << true;
        }
    }

    void anotherOriginIsAnHttpFailure()
    {
        QFETCH(int, status);
        QFETCH(bool, encrypted);
        const HttpServer plain;
        const QString target =
            encrypted ? m_calls->server.url().replace(QStringLiteral("http:"), QStringLiteral("https:")) : plain.url();
        m_calls->server.answerEach(HttpAnswer::message(status, "moved", {"Location: " + target.toUtf8()}));
        QCOMPARE(textOf(m_calls->ask()), QStringLiteral("<HTTP %1: moved>").arg(status));
        QCOMPARE(m_calls->logEntries().last(),
                 QStringLiteral("callChatAPI HTTP error: status=%1 body=moved").arg(status));
        QCOMPARE(m_calls->server.connectionCount(), 1);
        QCOMPARE(plain.connectionCount(), 0);
    }

    void aRedirectToNowhereIsAnHttpFailure()
    {
        m_calls->server.answerEach(HttpAnswer::message(302, "moved"));
        QCOMPARE(textOf(m_calls->ask()), QStringLiteral("<HTTP 302: moved>"));
    }

    void aCircleEnds()
    {
        m_calls->server.answerEach(HttpAnswer::redirect(307, "/"));
        const ChatTransportError expected{QStringLiteral("127.0.0.1: Too many redirects")};
        QVERIFY(m_calls->ask() == ChatOutcome(expected));
        QCOMPARE(m_calls->server.requests().size(), 21);
    }

    void aChainIsFollowed()
    {
        QList<HttpAnswer> answers(20, HttpAnswer::redirect(308, "/on"));
        answers.append(HttpAnswer::message(200, replyBody(QStringLiteral("hello"))));
        m_calls->server.answerInTurn(answers);
        QCOMPARE(textOf(m_calls->ask()), QStringLiteral("hello"));
    }

private:
    std::unique_ptr<ChatCalls> m_calls;
};

QTEST_GUILESS_MAIN(TestChatRedirects)
#include "TestChatRedirects.moc"
