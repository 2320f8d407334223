#include "chat/ChatCalls.h"
#include "chat/client/LoopbackAwareProxies.h"
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
        QTcpServer takenAndLeft;
        QVERIFY(takenAndLeft.listen(QHostAddress::LocalHost));
        QTest::newRow("nobody listens") << QStringLiteral("http://127.0.0.1:%1/").arg(takenAndLeft.serverPort())
                                        << QStringLiteral("Connection refused");
        QTest::newRow("a host that is not known") << QStringLiteral("http://no-such-host.invalid/") << QString();
        QTest::newRow("no host") << QStringLiteral("http:///v1") << QString();
        QTest::newRow("no scheme") << QStringLiteral("api.example/v1") << QStringLiteral("Protocol \"\" is unknown");
        QTest::newRow("a scheme for files")
            << QStringLiteral("file:///etc/hostname") << QStringLiteral("Protocol \"file\" is unknown");
        QTest::newRow("a scheme that holds its data")
            << QStringLiteral("data:text/plain,hello") << QStringLiteral("Protocol \"data\" is unknown");
        QTest::newRow("a host and port taken for a scheme")
            << QStringLiteral("localhost:8080/v1") << QStringLiteral("Protocol \"localhost\" is unknown");
    }

    void whereNothingAnswersIsATransportError()
    {
        QFETCH(QString, url);
        QFETCH(QString, text);
        m_calls->setEndpoint(url);
        const ChatOutcome outcome = m_calls->ask();
        QVERIFY2(std::holds_alternative<ChatTransportError>(outcome), qPrintable(textOf(outcome)));
        QVERIFY(!errorDescription(outcome).isEmpty());
        if (!text.isEmpty())
            QCOMPARE(errorDescription(outcome), text);
        QCOMPARE(m_calls->logEntries().last(),
                 QStringLiteral("callChatAPI transport error: ") + errorDescription(outcome));
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

    void anUntrustedCertificateEndsTheCall()
    {
        HttpServer server(TestCertificate::make().forServer());
        server.answerEach(goodAnswer());
        m_calls->setEndpoint(server.url());
        const ChatOutcome outcome = m_calls->ask();
        const auto* const error = std::get_if<ChatTransportError>(&outcome);
        QVERIFY(error);
        QVERIFY2(error->text.contains(QStringLiteral("self-signed")), qPrintable(error->text));
        QVERIFY(server.requests().isEmpty());
    }

    void aTrustedCertificateCarriesTheCall()
    {
        const TestCertificate certificate = TestCertificate::make();
        const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
        QSslConfiguration trusting = before;
        trusting.addCaCertificate(certificate.certificate);
        QSslConfiguration::setDefaultConfiguration(trusting);
        HttpServer server(certificate.forServer());
        server.answerInTurn({goodAnswer(), HttpAnswer::rawThenClose(""), HttpAnswer::untilClose(500, "no")});
        m_calls->setEndpoint(server.url());
        const QStringList texts{textOf(m_calls->ask()), textOf(m_calls->ask()), textOf(m_calls->ask())};
        QSslConfiguration::setDefaultConfiguration(before);
        QCOMPARE(texts, (QStringList{QStringLiteral("hello"), QStringLiteral("<Connection closed>"),
                                     QStringLiteral("<HTTP 500: no>")}));
        QCOMPARE(server.requests().size(), 3);
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
        const QList<QNetworkProxy> proxies = LoopbackAwareProxies().queryProxy(QNetworkProxyQuery(QUrl(url)));
        QCOMPARE(proxies.value(0).type(), isThisMachine ? QNetworkProxy::NoProxy : QNetworkProxy::HttpProxy);
    }

    void noProxyHearsOfWhatThisMachineIsAsked()
    {
        const HttpServer proxy;
        const Environment environment("http_proxy", proxy.url().toUtf8());
        m_calls->server.answerEach(goodAnswer());
        QCOMPARE(textOf(m_calls->ask()), QStringLiteral("hello"));
        QCOMPARE(proxy.connectionCount(), 0);
    }

    void othersAreAskedThroughTheSystemsProxy()
    {
        HttpServer proxy;
        proxy.answerEach(goodAnswer());
        const Environment environment("http_proxy", proxy.url().toUtf8());
        m_calls->setEndpoint(QStringLiteral("http://api.invalid/v1"));
        QCOMPARE(textOf(m_calls->ask()), QStringLiteral("hello"));
        QCOMPARE(proxy.requests().size(), 1);
        QCOMPARE(proxy.requests().first().target, QByteArray("http://api.invalid/v1"));
    }

private:
    std::unique_ptr<ChatCalls> m_calls;
};

QTEST_GUILESS_MAIN(TestChatRoutes)
#include "TestChatRoutes.moc"
