#include "chat/client/ChatClient.h"

#include "base/Json.h"
#include "chat/ChatCalls.h"
#include "chat/core/ChatReport.h"
#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// What the client sends, and what it makes of the answer.
class TestChatClient final : public TestCase
{
    Q_OBJECT

private slots:
    void postsExactlyToTheEndpoint()
    {
        m_calls->setEndpoint(m_calls->server.url(u"/own/path?a=1&b=%20c"_s));
        m_calls->server.answerEach(replyOf(u"hello"_s));
        QCOMPARE(outcomeText(m_calls->ask(u"sk-123 4"_s)), u"hello"_s);
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
        const QString odd = u"\"\\ <b>\n\t"_s + QChar(0) + u"\u2028 你好 👨‍👩‍👧‍👦 "_s;
        const QList<NeloChatMessage> messages{{u"assistant"_s, u"welcome"_s, u"2025-01-01T00:00:00Z"_s},
                                              {u"user"_s, odd, u"2025-01-01T00:00:01Z"_s},
                                              {u"user"_s, QString(), QString()}};
        qputenv("NELO_KIMI_BASE_URL", m_calls->server.url(u"/kimi"_s).toUtf8());
        m_calls->client->callChatAPI(u"kimi"_s, u"modèl \"x\""_s, messages, u"k"_s, [](const ChatOutcome&) {});
        QTRY_COMPARE(m_calls->server.requests().size(), 1);
        QCOMPARE(m_calls->server.requests().first().target, "/kimi"); // the provider's own endpoint
        const QByteArray& body = m_calls->server.requests().first().body;
        const Json expected{{"model", u"modèl \"x\""_s},
                            {"messages",
                             {{{"role", "assistant"}, {"content", "welcome"}},
                              {{"role", "user"}, {"content", odd}},
                              {{"role", "user"}, {"content", ""}}}},
                            {"stream", false}};
        // A `Json` keeps the order of its members. Here the order does not matter.
        QCOMPARE(nlohmann::json(parseJson(body.toStdString())).dump(), nlohmann::json(expected).dump());
        QVERIFY(!body.contains('\n'));
    }

    void anInvalidUrlCompletesAtOnce()
    {
        m_calls->setEndpoint(u"not a url"_s);
        m_calls->start();
        QVERIFY(m_calls->outcomes == std::vector<ChatOutcome>{NeloChatError{u"invalid URL"_s}});
        QCOMPARE(m_calls->logEntries(), (QStringList{u"callChatAPI: provider=openai model=gpt-4o-mini url=not a url"_s,
                                                     u"callChatAPI aborted: invalid URL"_s}));
    }

    void twentyMegabytesArriveWholeBothWays()
    {
        const QString text(20'000'000, u'x');
        m_calls->server.answerBy([](const HttpRequest& request) { return replyOf(questionOf(request)); });
        m_calls->start(text);
        QVERIFY(m_calls->waitForOutcomes(1));
        QVERIFY(outcomeText(m_calls->outcomes.front()) == text);
        QCOMPARE(m_calls->logEntries().last(), u"callChatAPI success: status=200 responseChars=20000000"_s);
    }

    void keysThatCannotBeSentAreRefused()
    {
        const QStringList keys{u"sk\r\nX-Evil: 1"_s, u"sk\nrest"_s, u"sk"_s + QChar(0), u"sk\trest"_s,
                               u"sk\u007f"_s,        u"密钥"_s,     u"clé"_s,           u"sk\u200b"_s};
        const QString text = u"The API key has characters that cannot be sent"_s;
        for (const QString& key : keys) {
            m_calls->outcomes.clear();
            m_calls->start(u"hi"_s, key);
            QCOMPARE(m_calls->outcomes.size(), 0U); // only an invalid URL completes at once
            QVERIFY(m_calls->waitForOutcomes(1));
            QCOMPARE(outcomeText(m_calls->outcomes.front()), u'<' + text + u'>');
            QCOMPARE(m_calls->logEntries().last(), u"callChatAPI transport error: "_s + text);
        }
        QCOMPARE(m_calls->server.connectionCount(), 0);

        const QString longest(10'000, u'k');
        m_calls->server.answerEach(replyOf(u"hello"_s));
        QCOMPARE(outcomeText(m_calls->ask(longest)), u"hello"_s);
        QCOMPARE(m_calls->server.requests().first().header("Authorization"), "Bearer " + longest.toLatin1());
    }

    void theKeyIsInNoLogEntry()
    {
        const QString key = u"sk-very-secret"_s;
        m_calls->server.answerInTurn({replyOf(u"hello"_s), HttpAnswer::message(401, "no"),
                                      HttpAnswer::message(200, "{}"), HttpAnswer::rawThenClose("")});
        for (int call = 0; call < 4; ++call)
            QVERIFY(!errorDescription(m_calls->ask(key)).contains(key));
        m_calls->ask(key + QChar(u'\n') + key);
        m_calls->setEndpoint(u"no url"_s);
        m_calls->ask(key);
        QCOMPARE(m_calls->logEntries().size(), 12);
        QVERIFY(m_calls->logEntries().filter(u"secret"_s).isEmpty());
    }

    void aKeyThatTheServerRepeatsIsMasked()
    {
        const QString secret = u"sk-12345"_s;
        const CaseTable<int, QString, QString> cases{
            {"in a refusal", 401, secret, u"***"_s},
            {"in an answer without a reply", 200, secret, u"***"_s},
            {"but a word that is too short for a key is left", 401, u"sk-1234"_s, u"sk-1234"_s},
        };
        for (const auto& [status, key, shown] : cases) {
            m_calls->server.answerEach(
                HttpAnswer::message(status, "bad key " + key.toLatin1() + ", yes " + key.toLatin1()));
            const ChatOutcome outcome = m_calls->ask(key);
            const QString body = u"bad key %1, yes %1"_s.arg(shown);
            if (status == 401)
                QCOMPARE(outcomeText(outcome), u"<HTTP 401: %1>"_s.arg(body));
            else
                QCOMPARE(outcomeText(outcome), u"<response missing choices>"_s);
            QVERIFY2(m_calls->logEntries().last().endsWith(u"body="_s + body),
                     qPrintable(m_calls->logEntries().last()));
        }
    }

    void aReplyMayHoldTheKey()
    {
        m_calls->server.answerEach(replyOf(u"choices, choices"_s));
        QCOMPARE(outcomeText(m_calls->ask(u"choices,"_s)), u"choices, choices"_s);
    }

private:
    Fresh<ChatCalls> m_calls{this};
};

QTEST_GUILESS_MAIN(TestChatClient)
#include "TestChatClient.moc"
