#include "chat/ChatCalls.h"
#include "chat/client/CurlTransfer.h"
#include "support/CaseTable.h"
#include "support/Files.h"
#include "support/TestCase.h"
#include "support/TestCertificate.h"

#include <QScopeGuard>
#include <QTcpServer>

using namespace Qt::StringLiterals;

namespace {

/// Sets an environment variable, as long as the returned guard lives.
[[nodiscard]] auto withVariable(const char* name, const QByteArray& value)
{
    qputenv(name, value);
    return qScopeGuard([name] { qunsetenv(name); });
}

} // namespace

/// The way to an endpoint: unreachable hosts, demands for credentials, certificates and proxies.
class TestChatRoutes final : public TestCase
{
    Q_OBJECT

private slots:
    void anUnreachableEndpointIsATransportError()
    {
        const QString malformed = u"URL using bad/illegal format or missing URL"_s;
        const QString unsupported = u"Unsupported protocol"_s;
        const CaseTable<QString, QString> cases{
            {"a host that is not known", u"http://unknown.invalid/"_s,
             u"unknown.invalid: Couldn't resolve host name"_s},
            {"no host", u"http:///v1"_s, malformed},
            {"a path and no host", u"http:/v1"_s, malformed},
            {"no scheme", u"api.example/v1"_s, unsupported},
            {"a scheme for files", u"file:///etc/hostname"_s, unsupported},
            {"a scheme for files elsewhere", u"ftp://api.example/"_s, u"api.example: "_s + unsupported},
            {"a scheme that holds its data", u"data:text/plain,hello"_s, unsupported},
            {"a host and port taken for a scheme", u"localhost:8080/v1"_s, unsupported},
        };
        for (const auto& [url, text] : cases) {
            m_calls->setEndpoint(url);
            QCOMPARE(outcomeText(m_calls->ask()), u'<' + text + u'>');
            QCOMPARE(m_calls->logEntries().last(), u"callChatAPI transport error: "_s + text);
        }
    }

    void aServerThatComesLaterIsFound()
    {
        QTcpServer takenAndLeft;
        QVERIFY(takenAndLeft.listen(QHostAddress::LocalHost));
        const quint16 port = takenAndLeft.serverPort();
        takenAndLeft.close();
        m_calls->setEndpoint(u"http://127.0.0.1:%1/"_s.arg(port));
        QCOMPARE(outcomeText(m_calls->ask()), u"<127.0.0.1: Couldn't connect to server>"_s);
        HttpServer server(port);
        server.answerEach(replyOf(u"hello"_s));
        QCOMPARE(outcomeText(m_calls->ask()), u"hello"_s);
    }

    void theNextAddressIsTriedWhereOneRefuses()
    {
        m_calls->server.answerEach(replyOf(u"hello"_s));
        m_calls->setEndpoint(m_calls->server.url().replace(u"127.0.0.1"_s, u"localhost"_s));
        QCOMPARE(outcomeText(m_calls->ask()), u"hello"_s); // nobody listens at ::1
    }

    void aDemandForCredentialsIsAnHttpFailure()
    {
        const QString url = m_calls->server.url();
        for (const char* challenge : {"Basic realm=\"x\"", R"(Digest realm="x", nonce="abc", qop="auth")",
                                      "Bearer realm=\"x\"", "NTLM", "Negotiate"}) {
            m_calls->server.answerEach(
                HttpAnswer::message(401, "bad key", {"WWW-Authenticate: " + QByteArray(challenge)}));
            for (const QString& user : {u"//"_s, u"//name:password@"_s}) {
                m_calls->setEndpoint(QString(url).replace(u"//"_s, user));
                QCOMPARE(outcomeText(m_calls->ask()), u"<HTTP 401: bad key>"_s);
            }
        }
        QCOMPARE(m_calls->server.requests().size(), 2 * 5);
        for (const HttpRequest& request : m_calls->server.requests())
            QCOMPARE(request.header("Authorization"), "Bearer sk-test");
    }

    void onlyAValidCertificateIsAccepted()
    {
        const QString here = u"IP:127.0.0.1"_s;
        const QString problem = u"<127.0.0.1: SSL certificate problem: %1>"_s;
        const CaseTable<QString, int, bool, QString> cases{
            {"trusted", here, 2, true, u"hello"_s},
            {"self-signed", here, 2, false, problem.arg(u"self-signed certificate"_s)},
            {"expired", here, -1, true, problem.arg(u"certificate has expired"_s)},
            {"for another host", u"DNS:api.example"_s, 2, true,
             u"<127.0.0.1: SSL peer certificate or SSH remote key was not OK>"_s},
        };
        for (const auto& [name, days, isTrusted, outcome] : cases) {
            const TestCertificate certificate = TestCertificate::make(name, days);
            ChatCalls calls;
            const QString file = calls.home.path(u"authorities.pem"_s);
            Files::create(file, certificate.certificate.toPem());
            if (isTrusted)
                calls.client = std::make_unique<ChatClient>(TransferLimits{.authoritiesFile = file.toUtf8()});
            HttpServer server(certificate.forServer());
            server.answerEach(replyOf(u"hello"_s));
            calls.setEndpoint(server.url());
            QCOMPARE(outcomeText(calls.ask()), outcome);
            QCOMPARE(server.requests().size(), outcome == u"hello"_s ? 1 : 0);
        }
    }

    void thisMachineIsAskedWithoutAProxy()
    {
        const auto plain = withVariable("http_proxy", "http://127.0.0.1:3128");
        const auto encrypted = withVariable("https_proxy", "http://127.0.0.1:3128");
        for (const char* here : {"http://127.0.0.1:8080/", "http://127.1.2.3/", "https://[::1]/", "http://localhost/",
                                 "http://LOCALHOST/", "https://api.localhost/"})
            QCOMPARE(systemProxyFor(QUrl(QString::fromLatin1(here))).type(), QNetworkProxy::NoProxy);
        for (const char* there :
             {"http://10.0.0.1/", "http://api.example/", "http://notlocalhost/", "http://localhost.example/"})
            QCOMPARE(systemProxyFor(QUrl(QString::fromLatin1(there))).type(), QNetworkProxy::HttpProxy);
    }

    void exceptionsAreNotAskedThroughTheProxy()
    {
        const HttpServer proxy;
        const auto environment = withVariable("http_proxy", proxy.url().toUtf8());
        m_calls->server.answerEach(replyOf(u"hello"_s));
        QCOMPARE(outcomeText(m_calls->ask()), u"hello"_s); // no proxy for this machine
        for (const char* exception : {"api.invalid", ".invalid", "*"}) {
            const auto without = withVariable("no_proxy", exception);
            m_calls->setEndpoint(u"http://api.invalid/v1"_s);
            QCOMPARE(outcomeText(m_calls->ask()), u"<api.invalid: Couldn't resolve host name>"_s);
        }
        QCOMPARE(proxy.connectionCount(), 0);
    }

    void otherMachinesAreAskedThroughTheSystemsProxy()
    {
        const QString plain = u"http://api.invalid/v1"_s;
        const QString encrypted = u"https://api.invalid/v1"_s;
        const QString noTunnel = u"<api.invalid: CONNECT tunnel failed, response %1>"_s;
        const auto demand = HttpAnswer::message(407, "who?", {"Proxy-Authenticate: Basic realm=\"x\""});
        const auto closed = HttpAnswer::rawThenClose("");
        const auto noWay = HttpAnswer::message(502, "no way");
        const auto greeting = HttpAnswer::rawThenClose("SSH-2.0\r\n\r\n");
        const CaseTable<QString, QList<HttpAnswer>, QString> cases{
            {"that passes it on", plain, {replyOf(u"hello"_s)}, u"hello"_s},
            {"that wants credentials", plain, {demand, replyOf(u"hello"_s)}, u"hello"_s},
            {"that wants others", plain, {demand, demand}, u"<HTTP 407: who?>"_s},
            {"that has no way", plain, {noWay}, u"<HTTP 502: no way>"_s},
            {"that is none", plain, {greeting}, u"<api.invalid: Received HTTP/0.9 when not allowed>"_s},
            {"that has no way for a tunnel", encrypted, {noWay}, noTunnel.arg(502)},
            {"that wants others for a tunnel", encrypted, {demand, demand}, noTunnel.arg(407)},
            {"that closes instead of a tunnel", encrypted, {closed}, u"<api.invalid: Proxy CONNECT aborted>"_s},
            {"that is none and opens no tunnel", encrypted, {greeting}, noTunnel.arg(0)},
        };
        for (const auto& [url, answers, outcome] : cases) {
            HttpServer proxy;
            proxy.answerInTurn(answers);
            const QByteArray address = proxy.url().replace(u"//"_s, u"//me:pass%3Aword@"_s).toUtf8();
            const auto forPlain = withVariable("http_proxy", address);
            const auto forEncrypted = withVariable("https_proxy", address);
            m_calls->setEndpoint(url);
            QCOMPARE(outcomeText(m_calls->ask()), outcome);
            QCOMPARE(proxy.requests().size(), answers.size());
            QVERIFY(m_calls->logEntries().filter(u"pass"_s).isEmpty());
            const HttpRequest& last = proxy.requests().last();
            const bool isTunnel = url.startsWith(u"https"_s);
            QCOMPARE(last.target, isTunnel ? QByteArray("api.invalid:443") : url.toUtf8());
            QCOMPARE(last.count("Authorization"), isTunnel ? 0 : 1); // the proxy does not get the key
            QCOMPARE(last.header("Proxy-Authorization"),
                     answers.size() > 1 ? "Basic " + QByteArray("me:pass:word").toBase64() : QByteArray());
        }
    }

private:
    Fresh<ChatCalls> m_calls{this};
};

QTEST_GUILESS_MAIN(TestChatRoutes)
#include "TestChatRoutes.moc"
