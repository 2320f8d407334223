#include "chat/ChatCalls.h"
#include "chat/client/CurlTransfer.h"
#include "support/Files.h"
#include "support/TestCertificate.h"
#include "support/Warnings.h"

#include <QSslConfiguration>
#include <QTcpServer>
#include <QTest>

namespace {

HttpAnswer goodAnswer()
{
    return HttpAnswer::message(200, replyBody(QStringLiteral("hello")));
}

/// Sets an environment variable while it lives.
class Environment final
{
public:
    Environment(const char* name, const QByteArray& value) : m_name(name) { qputenv(name, value); }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
    ~Environment() { qunsetenv(m_name); }

private:
    const char* m_name;
};

} // namespace

/// The way to an endpoint: what cannot be reached, who asks for more than the key, certificates and proxies.
class TestChatRoutes final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_calls = std::make_unique<ChatCalls>();
    }

    void cleanup() { m_calls.reset(); }

    void whereNothingAnswersIsATransportError_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("text");
        const auto addRow = [](const char* name, const char* url, const char* text) {
            QTest::newRow(name) << QString::fromUtf8(url) << QString::fromUtf8(text);
        };
        addRow("a host that is not known", "http://no-such-host.invalid/",
               "no-such-host.invalid: Couldn't resolve host name");
        addRow("no host", "http:///v1", "URL using bad/illegal format or missing URL");
        addRow("a path and no host", "http:/v1", "URL using bad/illegal format or missing URL");
        addRow("no scheme", "api.example/v1", "Unsupported protocol");
        addRow("a scheme for files", "file:///etc/hostname", "Unsupported protocol");
        addRow("a scheme for files elsewhere", "ftp://api.example/", "api.example: Unsupported protocol");
        addRow("a scheme that holds its data", "data:text/plain,hello", "Unsupported protocol");
        addRow("a host and port taken for a scheme", "localhost:8080/v1", "Unsupported protocol");
    }

    void whereNothingAnswersIsATransportError()
    {
        QFETCH(QString, url);
        QFETCH(QString, text);
        m_calls->setEndpoint(url);
        QCOMPARE(textOf(m_calls->ask()), u'<' + text + u'>');
        QCOMPARE(m_calls->logEntries().last(), QStringLiteral("callChatAPI transport error: ") + text);
    }

    void aServerThatComesLaterIsFound()
    {
        QTcpServer takenAndLeft;
        QVERIFY(takenAndLeft.listen(QHostAddress::LocalHost));
        const quint16 port = takenAndLeft.serverPort();
        takenAndLeft.close();
        m_calls->setEndpoint(QStringLiteral("http://127.0.0.1:%1/").arg(port));
        QCOMPARE(textOf(m_calls->ask()), QStringLiteral("<127.0.0.1: Couldn't connect to server>"));
        HttpServer server(port);
        server.answerEach(goodAnswer());
        QCOMPARE(textOf(m_calls->ask()), QStringLiteral("hello"));
    }

    void theNextAddressIsTriedWhereOneRefuses()
    {
        m_calls->server.answerEach(goodAnswer());
        m_calls->setEndpoint(m_calls->server.url().replace(QStringLiteral("127.0.0.1"), QStringLiteral("localhost")));
        QCOMPARE(textOf(m_calls->ask()), QStringLiteral("hello")); // not at ::1
    }

    void aDemandForCredentialsIsAnHttpFailure_data()
    {
        QTest::addColumn<QByteArray>("challenge");
        QTest::newRow("basic") << QByteArray("Basic realm=\"x\"");
        QTest::newRow("digest") << QByteArray(R"(Digest realm="x", nonce="abc", qop="auth")");
        QTest::newRow("bearer") << QByteArray("Bearer realm=\"x\"");
        QTest::newRow("NTLM") << QByteArray("NTLM");
        QTest::newRow("negotiation") << QByteArray("Negotiate");
    }

    void aDemandForCredentialsIsAnHttpFailure()
    {
        QFETCH(QByteArray, challenge);
        m_calls->server.answerEach(HttpAnswer::message(401, "bad key", {"WWW-Authenticate: " + challenge}));
        QString url = m_calls->server.url();
        for (const QString& endpoint : {url, url.replace(QStringLiteral("//"), QStringLiteral("//name:password@"))}) {
            m_calls->setEndpoint(endpoint);
            QCOMPARE(textOf(m_calls->ask()), QStringLiteral("<HTTP 401: bad key>"));
        }
        QCOMPARE(m_calls->server.requests().size(), 2);
        for (const HttpRequest& request : m_calls->server.requests())
            QCOMPARE(request.header("Authorization"), QByteArray("Bearer sk-test"));
    }

    void onlyACertificateThatHoldsCarriesTheCall_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("days");
        QTest::addColumn<bool>("isTrusted");
        QTest::addColumn<QString>("outcome");
        const QString here = QStringLiteral("IP:127.0.0.1");
        const QString problem = QStringLiteral("<127.0.0.1: SSL certificate problem: %1>");
        QTest::newRow("trusted") << here << 2 << true << QStringLiteral("hello");
        QTest::newRow("self-signed") << here << 2 << false << problem.arg(QStringLiteral("self-signed certificate"));
        QTest::newRow("expired") << here << -1 << true << problem.arg(QStringLiteral("certificate has expired"));
        QTest::newRow("for another host")
            << QStringLiteral("DNS:api.example") << 2 << true
            << QStringLiteral("<127.0.0.1: SSL peer certificate or SSH remote key was not OK>");
    }

    void onlyACertificateThatHoldsCarriesTheCall()
    {
        QFETCH(QString, name);
        QFETCH(int, days);
        QFETCH(bool, isTrusted);
        QFETCH(QString, outcome);
        const TestCertificate certificate = TestCertificate::make(name, days);
        const QString file = m_calls->home.path(QStringLiteral("authorities.pem"));
        Files::create(file, certificate.certificate.toPem());
        if (isTrusted)
            m_calls->client = std::make_unique<ChatClient>(TransferLimits{.authoritiesFile = file.toUtf8()});
        HttpServer server(certificate.forServer());
        server.answerEach(goodAnswer());
        m_calls->setEndpoint(server.url());
        QCOMPARE(textOf(m_calls->ask()), outcome);
        QCOMPARE(server.requests().size(), outcome == QStringLiteral("hello") ? 1 : 0);
    }

    void onlyThisMachineIsAskedWithoutAProxy_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<bool>("isThisMachine");
        QTest::newRow("its address") << QStringLiteral("http://127.0.0.1:8080/") << true;
        QTest::newRow("another of its addresses") << QStringLiteral("http://127.1.2.3/") << true;
        QTest::newRow("its IPv6 address") << QStringLiteral("https://[::1]/") << true;
        QTest::newRow("its name") << QStringLiteral("http://localhost/") << true;
        QTest::newRow("its name in capital letters") << QStringLiteral("http://LOCALHOST/") << true;
        QTest::newRow("a name below its own") << QStringLiteral("https://api.localhost/") << true;
        QTest::newRow("another machine nearby") << QStringLiteral("http://10.0.0.1/") << false;
        QTest::newRow("another machine's name") << QStringLiteral("http://api.example/") << false;
        QTest::newRow("a name that only ends like it") << QStringLiteral("http://notlocalhost/") << false;
        QTest::newRow("a name that only begins like it") << QStringLiteral("http://localhost.example/") << false;
    }

    void onlyThisMachineIsAskedWithoutAProxy()
    {
        QFETCH(QString, url);
        QFETCH(bool, isThisMachine);
        const Environment plain("http_proxy", "http://127.0.0.1:3128");
        const Environment encrypted("https_proxy", "http://127.0.0.1:3128");
        const QNetworkProxy proxy = systemProxyFor(QUrl(url));
        QCOMPARE(proxy.type(), isThisMachine ? QNetworkProxy::NoProxy : QNetworkProxy::HttpProxy);
    }

    void noProxyHearsOfWhatItIsNotFor()
    {
        const HttpServer proxy;
        const Environment environment("http_proxy", proxy.url().toUtf8());
        m_calls->server.answerEach(goodAnswer());
        QCOMPARE(textOf(m_calls->ask()), QStringLiteral("hello")); // this machine
        for (const char* exception : {"api.invalid", ".invalid", "*"}) {
            const Environment without("no_proxy", exception);
            m_calls->setEndpoint(QStringLiteral("http://api.invalid/v1"));
            QCOMPARE(textOf(m_calls->ask()), QStringLiteral("<api.invalid: Couldn't resolve host name>"));
        }
        QCOMPARE(proxy.connectionCount(), 0);
    }

    void othersAreAskedThroughTheSystemsProxy_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QList<HttpAnswer>>("answers");
        QTest::addColumn<QString>("outcome");
        const auto addRow = [](const char* name, const char* url, const QList<HttpAnswer>& answers,
                               const char* outcome) {
            QTest::newRow(name) << QString::fromUtf8(url) << answers << QString::fromUtf8(outcome);
        };
        const char* const plain = "http://api.invalid/v1";
        const char* const encrypted = "https://api.invalid/v1";
        const auto demand = HttpAnswer::message(407, "who?", {"Proxy-Authenticate: Basic realm=\"x\""});
        addRow("that passes it on", plain, {goodAnswer()}, "hello");
        addRow("that wants credentials", plain, {demand, goodAnswer()}, "hello");
        addRow("that wants others", plain, {demand, demand}, "<HTTP 407: who?>");
        addRow("that has no way", plain, {HttpAnswer::message(502, "no way")}, "<HTTP 502: no way>");
        addRow("that is none", plain, {HttpAnswer::rawThenClose("SSH-2.0\r\n")},
               "<api.invalid: Received HTTP/0.9 when not allowed>");
        const char* const unreachable = "<api.invalid: CONNECT tunnel failed, response %1>";
        for (const int status : {403, 502}) {
            QTest::addRow("that answers %d to a tunnel", status)
                << QString::fromUtf8(encrypted) << QList{HttpAnswer::message(status, "no way")}
                << QString::fromUtf8(unreachable).arg(status);
        }
        addRow("that wants others for a tunnel", encrypted, {demand, demand},
               "<api.invalid: CONNECT tunnel failed, response 407>");
        addRow("that closes instead of a tunnel", encrypted, {HttpAnswer::rawThenClose("")},
               "<api.invalid: Proxy CONNECT aborted>");
        addRow("that is none and opens no tunnel", encrypted, {HttpAnswer::rawThenClose("SSH-2.0\r\n\r\n")},
               "<api.invalid: CONNECT tunnel failed, response 0>");
    }

    void othersAreAskedThroughTheSystemsProxy()
    {
        QFETCH(QString, url);
        QFETCH(QList<HttpAnswer>, answers);
        QFETCH(QString, outcome);
        HttpServer proxy;
        proxy.answerInTurn(answers);
        const QByteArray address =
            proxy.url().replace(QStringLiteral("//"), QStringLiteral("//me:pass%3Aword@")).toUtf8();
        const Environment plain("http_proxy", address);
        const Environment encrypted("https_proxy", address);
        m_calls->setEndpoint(url);
        QCOMPARE(textOf(m_calls->ask()), outcome);
        QCOMPARE(proxy.requests().size(), answers.size());
        QVERIFY(m_calls->logEntries().filter(QStringLiteral("pass")).isEmpty());
        const HttpRequest& last = proxy.requests().last();
        const bool isTunnel = url.startsWith(QStringLiteral("https"));
        QCOMPARE(last.target, isTunnel ? QByteArray("api.invalid:443") : url.toUtf8());
        QCOMPARE(last.count("Authorization"), isTunnel ? 0 : 1); // no key for the proxy itself
        QCOMPARE(last.header("Proxy-Authorization"),
                 answers.size() > 1 ? "Basic " + QByteArray("me:pass:word").toBase64() : QByteArray());
    }

private:
    std::unique_ptr<ChatCalls> m_calls;
};

QTEST_GUILESS_MAIN(TestChatRoutes)
#include "TestChatRoutes.moc"
