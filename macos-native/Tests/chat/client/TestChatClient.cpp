#include "chat/client/ChatClient.h"

#include "chat/ChatCalls.h"
#include "chat/core/ChatReport.h"
#include "support/Warnings.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <algorithm>

/// What goes over the wire, and what comes of the answer.
class TestChatClient final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_calls = std::make_unique<ChatCalls>();
    }

    void cleanup() { m_calls.reset(); }

    void postsExactlyToTheEndpoint()
    {
        m_calls->setEndpoint(m_calls->server.url(QStringLiteral("/own/path?a=1&b=%20c")));
        m_calls->server.answerEach(HttpAnswer::message(200, replyBody(QStringLiteral("hello"))));
        QCOMPARE(textOf(m_calls->ask(QStringLiteral("sk-123 4"))), QStringLiteral("hello"));
        QCOMPARE(m_calls->server.requests().size(), 1);
        const HttpRequest& request = m_calls->server.requests().first();
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.target, QByteArray("/own/path?a=1&b=%20c"));
        QCOMPARE(request.header("Content-Type"), QByteArray("application/json"));
        QCOMPARE(request.header("Authorization"), QByteArray("Bearer sk-123 4"));
        QCOMPARE(request.count("Authorization"), 1);
        QCOMPARE(request.header("User-Agent"), QByteArray("Nelo/" NELO_VERSION));
        QCOMPARE(request.header("Accept-Encoding"), QByteArray("gzip"));
        for (const char* unwanted : {"Connection", "Expect", "Accept-Language", "Cookie"})
            QCOMPARE(request.count(unwanted), 0);
        QCOMPARE(request.header("Content-Length"), QByteArray::number(request.body.size()));
    }

    void sendsModelAndMessagesAndNothingElse()
    {
        const QString odd =
            QStringLiteral("\"\\ <b>\n\t") + QChar(0) + QStringLiteral("\u2028 你好 👨‍👩‍👧‍👦 ");
        const QList<NeloChatMessage> messages{
            {QStringLiteral("assistant"), QStringLiteral("welcome"), QStringLiteral("2025-01-01T00:00:00Z")},
            {QStringLiteral("user"), odd, QStringLiteral("2025-01-01T00:00:01Z")},
            {QStringLiteral("user"), QString(), QString()},
        };
        m_calls->client->callChatAPI(QStringLiteral("kimi"), QStringLiteral("modèl \"x\""), messages,
                                     QStringLiteral("k"), [](const ChatOutcome&) {});
        QTRY_COMPARE(m_calls->server.requests().size(), 1);

        const QByteArray& body = m_calls->server.requests().first().body;
        const auto message = [](const QString& role, const QString& content) {
            return QJsonObject{{QStringLiteral("role"), role}, {QStringLiteral("content"), content}};
        };
        const QJsonObject expected{
            {QStringLiteral("model"), QStringLiteral("modèl \"x\"")},
            {QStringLiteral("messages"),
             QJsonArray{message(QStringLiteral("assistant"), QStringLiteral("welcome")),
                        message(QStringLiteral("user"), odd), message(QStringLiteral("user"), QString())}},
            {QStringLiteral("stream"), false}};
        QCOMPARE(QJsonDocument::fromJson(body).object(), expected);
        QVERIFY(!body.contains('\n'));
    }

    void everyProviderUsesItsOwnVariable()
    {
        const QStringList providers{QStringLiteral("openai"), QStringLiteral("deepseek"), QStringLiteral("kimi"),
                                    QStringLiteral("unknown")};
        for (const char* name : {"openai", "deepseek", "kimi"}) {
            const QByteArray variable = "NELO_" + QByteArray(name).toUpper() + "_BASE_URL";
            qputenv(variable.constData(), m_calls->server.url(u'/' + QString::fromLatin1(name)).toUtf8());
        }
        for (const QString& provider : providers)
            m_calls->client->callChatAPI(provider, QStringLiteral("m"), {}, QStringLiteral("k"),
                                         [](const ChatOutcome&) {});
        QTRY_COMPARE(m_calls->server.requests().size(), 4);
        QByteArrayList targets;
        for (const HttpRequest& request : m_calls->server.requests())
            targets.append(request.target);
        std::sort(targets.begin(), targets.end());
        QCOMPARE(targets, (QByteArrayList{"/deepseek", "/kimi", "/openai", "/openai"}));
    }

    void aGoodReplyIsLoggedAndDelivered()
    {
        m_calls->server.answerEach(HttpAnswer::message(201, replyBody(QStringLiteral(" 👋🏽 你好\n"))));
        QCOMPARE(textOf(m_calls->ask()), QStringLiteral("👋🏽 你好"));
        QCOMPARE(
            m_calls->logEntries(),
            (QStringList{QStringLiteral("callChatAPI: provider=openai model=gpt-4o-mini url=") + m_calls->server.url(),
                         QStringLiteral("callChatAPI success: status=201 responseChars=4")}));
    }

    void anInvalidUrlCompletesAtOnce()
    {
        m_calls->setEndpoint(QStringLiteral("not a url"));
        m_calls->start();
        QVERIFY(m_calls->outcomes == std::vector<ChatOutcome>{NeloChatError{QStringLiteral("invalid URL")}});
        QCOMPARE(m_calls->logEntries(),
                 (QStringList{QStringLiteral("callChatAPI: provider=openai model=gpt-4o-mini url=not a url"),
                              QStringLiteral("callChatAPI aborted: invalid URL")}));
    }

    void aReplyOfTwentyMegabytesArrivesWhole()
    {
        const QString text(20'000'000, QLatin1Char('x'));
        m_calls->server.answerEach(HttpAnswer::message(200, replyBody(text)));
        QVERIFY(textOf(m_calls->ask()) == text);
        QCOMPARE(m_calls->logEntries().last(),
                 QStringLiteral("callChatAPI success: status=200 responseChars=20000000"));
    }

    void aRequestOfTwentyMegabytesArrivesWhole()
    {
        const QString text(20'000'000, QLatin1Char('x'));
        m_calls->server.answerBy([](const HttpRequest& request) {
            return HttpAnswer::message(200, replyBody(questionOf(request).right(7)));
        });
        m_calls->start(text + QStringLiteral("the end"));
        QVERIFY(m_calls->waitForOutcomes(1));
        QCOMPARE(textOf(m_calls->outcomes.front()), QStringLiteral("the end"));
        QCOMPARE(questionOf(m_calls->server.requests().first()).size(), text.size() + 7);
    }

    void keysThatCannotBeSentAreRefused_data()
    {
        QTest::addColumn<QString>("key");
        QTest::newRow("a line break and another header") << QStringLiteral("sk\r\nX-Evil: 1");
        QTest::newRow("a line feed") << QStringLiteral("sk\nrest");
        QTest::newRow("a zero character") << QStringLiteral("sk") + QChar(0);
        QTest::newRow("a tab") << QStringLiteral("sk\trest");
        QTest::newRow("a delete character") << QStringLiteral("sk\u007f");
        QTest::newRow("Chinese") << QStringLiteral("密钥");
        QTest::newRow("a Latin letter beyond ASCII") << QStringLiteral("clé");
        QTest::newRow("an invisible blank") << QStringLiteral("sk\u200b");
    }

    void keysThatCannotBeSentAreRefused()
    {
        QFETCH(QString, key);
        m_calls->start(QStringLiteral("hi"), key);
        QCOMPARE(m_calls->outcomes.size(), 0U); // only an invalid URL is told at once
        QVERIFY(m_calls->waitForOutcomes(1));
        const QString text = QStringLiteral("The API key has characters that cannot be sent");
        QCOMPARE(textOf(m_calls->outcomes.front()), u'<' + text + u'>');
        QCOMPARE(m_calls->logEntries().last(), QStringLiteral("callChatAPI transport error: ") + text);
        QCOMPARE(m_calls->server.connectionCount(), 0);
    }

    void aKeyOfTenThousandCharactersArrives()
    {
        const QString key(10'000, QLatin1Char('k'));
        m_calls->server.answerEach(HttpAnswer::message(200, replyBody(QStringLiteral("hello"))));
        QCOMPARE(textOf(m_calls->ask(key)), QStringLiteral("hello"));
        QCOMPARE(m_calls->server.requests().first().header("Authorization"), "Bearer " + key.toLatin1());
    }

    void theKeyIsInNoLogEntry()
    {
        const QString key = QStringLiteral("sk-very-secret");
        m_calls->server.answerInTurn({HttpAnswer::message(200, replyBody(QStringLiteral("hello"))),
                                      HttpAnswer::message(401, "no"), HttpAnswer::message(200, "{}"),
                                      HttpAnswer::rawThenClose("")});
        for (int call = 0; call < 4; ++call)
            QVERIFY(!errorDescription(m_calls->ask(key)).contains(key));
        m_calls->ask(key + QChar(u'\n') + key);
        m_calls->setEndpoint(QStringLiteral("no url"));
        m_calls->ask(key);
        QCOMPARE(m_calls->logEntries().size(), 12);
        QVERIFY(m_calls->logEntries().filter(QStringLiteral("secret")).isEmpty());
    }

    void aKeyThatTheServerRepeatsIsMasked_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("told");
        const QString secret = QStringLiteral("sk-12345");
        QTest::newRow("in a refusal") << 401 << secret << QStringLiteral("***");
        QTest::newRow("in an answer without a reply") << 200 << secret << QStringLiteral("***");
        QTest::newRow("but a word that is too short for a key is left")
            << 401 << QStringLiteral("sk-1234") << QStringLiteral("sk-1234");
    }

    void aKeyThatTheServerRepeatsIsMasked()
    {
        QFETCH(int, status);
        QFETCH(QString, key);
        QFETCH(QString, told);
        m_calls->server.answerEach(
            HttpAnswer::message(status, "bad key " + key.toLatin1() + ", yes " + key.toLatin1()));
        const ChatOutcome outcome = m_calls->ask(key);
        const QString body = QStringLiteral("bad key %1, yes %1").arg(told);
        if (status == 401)
            QCOMPARE(textOf(outcome), QStringLiteral("<HTTP 401: %1>").arg(body));
        else
            QCOMPARE(textOf(outcome), QStringLiteral("<response missing choices>"));
        QVERIFY2(m_calls->logEntries().last().endsWith(QStringLiteral("body=") + body),
                 qPrintable(m_calls->logEntries().last()));
    }

    void aReplyMayHoldTheKey()
    {
        m_calls->server.answerEach(HttpAnswer::message(200, replyBody(QStringLiteral("choices, choices"))));
        QCOMPARE(textOf(m_calls->ask(QStringLiteral("choices,"))), QStringLiteral("choices, choices"));
    }

private:
    std::unique_ptr<ChatCalls> m_calls;
};

QTEST_GUILESS_MAIN(TestChatClient)
#include "TestChatClient.moc"
