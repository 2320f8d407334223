#include "chat/ChatCalls.h"
#include "chat/client/ChatRequest.h"
#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// Which redirects are followed. The key is never sent to another origin.
class TestChatRedirects final : public TestCase
{
    Q_OBJECT

private slots:
    void onlyTheSameOriginIsFollowed()
    {
        const QString origin = u"https://api.example/v1/chat"_s;
        const CaseTable<QString, QString, QString> cases{
            {"an absolute path", origin, u"/v2"_s, u"https://api.example/v2"_s},
            {"a relative path", origin, u"x"_s, u"https://api.example/v1/x"_s},
            {"a query", origin, u"?a=1"_s, u"https://api.example/v1/chat?a=1"_s},
            {"the whole URL", origin, u"https://api.example/"_s, u"https://api.example/"_s},
            {"the scheme's own port", origin, u"https://api.example:443/"_s, u"https://api.example:443/"_s},
            {"capital letters in host and scheme", origin, u"HTTPS://API.Example/x"_s, u"https://api.example/x"_s},
            {"another host", origin, u"https://evil.example/"_s, {}},
            {"another host without a scheme", origin, u"//evil.example/v1"_s, {}},
            {"a host below it", origin, u"https://www.api.example/"_s, {}},
            {"the host as a name before another", origin, u"https://api.example@evil.example/"_s, {}},
            {"another port", origin, u"https://api.example:8443/"_s, {}},
            {"without encryption", origin, u"http://api.example/"_s, {}},
            {"without encryption on the same port", origin, u"http://api.example:443/"_s, {}},
            {"with encryption", u"http://api.example/"_s, u"https://api.example/"_s, {}},
            {"a file", origin, u"file:///etc/passwd"_s, {}},
            {"nowhere", origin, {}, {}},
        };
        for (const auto& [from, target, next] : cases) {
            const ChatRequest request{QUrl(from), u"key"_s, "body"};
            for (const int status : {301, 302, 303, 307, 308}) {
                const std::optional<ChatRequest> following = redirectToFollow(request, status, QUrl(target));
                QCOMPARE(following ? following->url : QUrl(), QUrl(next));
            }
            for (const int status : {0, 200, 201, 300, 304, 305, 306, 309, 404})
                QVERIFY(!redirectToFollow(request, status, QUrl(target)));
        }
    }

    void aRedirectToTheSameOriginIsFollowed()
    {
        HttpServer& server = m_calls->server;
        for (const int status : {301, 302, 303, 307, 308}) {
            server.answerInTurn({HttpAnswer::redirect(status, "/next"), replyOf(u"hello"_s)});
            QCOMPARE(outcomeText(m_calls->ask()), u"hello"_s);
            const HttpRequest& second = server.requests().last();
            QCOMPARE(second.method, status < 307 ? "GET" : "POST");
            QCOMPARE(second.target, "/next");
            QCOMPARE(second.header("Authorization"), "Bearer sk-test");
            QCOMPARE(second.body, status < 307 ? QByteArray() : server.requests().first().body);
        }
        QCOMPARE(server.requests().size(), 2 * 5);
        QCOMPARE(m_calls->logEntries().size(), 2 * 5);
    }

    void aRedirectToAnotherOriginIsAnHttpFailure()
    {
        const HttpServer plain;
        const QByteArray encrypted = m_calls->server.url().replace(u"http:"_s, u"https:"_s).toUtf8();
        for (const int status : {301, 302, 303, 307, 308}) {
            for (const QByteArray& header :
                 {"Location: " + plain.url().toUtf8(), "Location: " + encrypted, QByteArray("X-No-Location: at all")}) {
                m_calls->server.answerEach(HttpAnswer::message(status, "moved", {header}));
                QCOMPARE(outcomeText(m_calls->ask()), u"<HTTP %1: moved>"_s.arg(status));
                QCOMPARE(m_calls->logEntries().last(), u"callChatAPI HTTP error: status=%1 body=moved"_s.arg(status));
            }
        }
        QCOMPARE(m_calls->server.connectionCount(), 3 * 5);
        QCOMPARE(plain.connectionCount(), 0);
    }

    void aChainOfRedirectsIsFollowedAndALoopEnds()
    {
        const QList<HttpAnswer> answers(20, HttpAnswer::redirect(308, "/on"));
        m_calls->server.answerInTurn(answers + QList{replyOf(u"hello"_s)});
        QCOMPARE(outcomeText(m_calls->ask()), u"hello"_s);
        m_calls->server.answerEach(HttpAnswer::redirect(307, "/"));
        const ChatTransportError expected{u"127.0.0.1: Too many redirects"_s};
        QVERIFY(m_calls->ask() == ChatOutcome(expected));
        QCOMPARE(m_calls->server.requests().size(), 21 + 21);
    }

private:
    Fresh<ChatCalls> m_calls{this};
};

QTEST_GUILESS_MAIN(TestChatRedirects)
#include "TestChatRedirects.moc"
