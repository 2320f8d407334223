#include "chat/ChatCalls.h"
#include "support/CaseTable.h"
#include "support/Files.h"
#include "support/ProcessTable.h"
#include "support/TestCase.h"
#include "support/TestCertificate.h"

#include <QElapsedTimer>

#include <ctime>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// Connections that serve several calls.
class TestChatConnections final : public TestCase
{
    Q_OBJECT

private slots:
    void initTestCase() { m_certificate.emplace(TestCertificate::make()); }

    void init() override
    {
        TestCase::init();
        m_encrypted = std::make_unique<HttpServer>(m_certificate->forServer());
        const QString file = m_calls->home.path(u"authorities.pem"_s);
        Files::create(file, m_certificate->certificate.toPem());
        m_calls->client = std::make_unique<ChatClient>(TransferLimits{.authoritiesFile = QFile::encodeName(file)});
        m_calls->server.answerEach(keptAnswer());
    }

    void aConnectionServesTheNextCallUnlessTheServerHasClosedIt()
    {
        for (HttpServer* const server : {&m_calls->server, m_encrypted.get()}) {
            m_calls->setEndpoint(server->url());
            server->answerEach(keptAnswer());
            for (int call = 1; call <= 3; ++call)
                QCOMPARE(outcomeText(m_calls->ask()), u"hello"_s);
            QCOMPARE(server->connectionCount(), 1);

            server->answerEach(HttpAnswer::rawThenClose(keptAnswer().bytes())); // without an announcement in the head
            for (int call = 1; call <= 3; ++call) {
                QCOMPARE(outcomeText(m_calls->ask()), u"hello"_s);
                QTRY_COMPARE(server->openConnections(), 0);
                QCOMPARE(server->connectionCount(), call);
            }
        }
    }

    void aRequestOnAKeptConnectionIsSentOnce()
    {
        const QString unknown = u"the connection closed before an answer; the message may have arrived"_s;
        const CaseTable<HttpAnswer, QString> cases{
            {"the server closes", HttpAnswer::rawThenClose(""), unknown},
            {"the server resets", HttpAnswer{{}, HttpAnswer::End::Reset}, unknown},
            {"the server closes after half a head", HttpAnswer::rawThenClose("HTTP/1.1 200 OK\r\nCont"),
             u"Server returned nothing (no headers, no data)"_s},
            {"the server closes after \"continue\"", HttpAnswer::rawThenClose("HTTP/1.1 100 Continue\r\n\r\n"),
             u"Empty reply from server"_s},
        };
        for (const auto& [answer, words] : cases) {
            for (HttpServer* const server : {&m_calls->server, m_encrypted.get()}) {
                m_calls->setEndpoint(server->url());
                server->answerInTurn({keptAnswer(), answer, HttpAnswer::rawThenClose(keptAnswer().bytes())});
                const qsizetype requestsBefore = server->requests().size();
                const int connectionsBefore = server->connectionCount();
                QCOMPARE(outcomeText(m_calls->ask()), u"hello"_s);
                QCOMPARE(outcomeText(m_calls->ask()), u"<127.0.0.1: %1>"_s.arg(words));
                QCOMPARE(server->requests().size(), requestsBefore + 2);
                QCOMPARE(outcomeText(m_calls->ask()), u"hello"_s);
                QCOMPARE(server->connectionCount(), connectionsBefore + 2);
                QTRY_COMPARE(server->openConnections(), 0);
            }
        }
    }

    void anOldConnectionIsNotUsed()
    {
        const CaseTable<std::chrono::milliseconds, bool, int> cases{
            {"the clock goes on", 0ms, false, 1},
            {"the machine slept for more than a minute", std::chrono::milliseconds(61s), false, 2},
            {"the clock was set back", std::chrono::milliseconds(-1h), false, 2},
            {"it slept while another call is under way", std::chrono::milliseconds(1h), true, 3},
        };
        QCOMPARE(TransferLimits().idleness, 60s);
        for (const auto& [jump, isOtherUnderWay, connections] : cases) {
            std::atomic<std::chrono::milliseconds> shift{0ms};
            TransferLimits limits;
            limits.wallClock = [&shift] { return std::chrono::system_clock::now() + shift.load(); };
            ChatCalls calls(limits);
            calls.server.answerBy([](const HttpRequest& request) {
                return questionOf(request) == u"held"_s ? std::nullopt : std::optional(keptAnswer());
            });
            if (isOtherUnderWay) {
                calls.start(u"held"_s);
                QTRY_COMPARE(calls.server.requests().size(), 1);
            }
            QCOMPARE(outcomeText(calls.ask()), u"hello"_s);
            shift = jump;
            QCOMPARE(outcomeText(calls.ask()), u"hello"_s);
            QCOMPARE(calls.server.connectionCount(), connections);
        }
    }

    void idleConnectionsAreClosed()
    {
        QCOMPARE(outcomeText(m_calls->ask()), u"hello"_s); // later calls open no further descriptors that stay
        m_calls->client.reset();
        QTRY_COMPARE(m_calls->server.openConnections(), 0);
        const int descriptors = ProcessTable::openDescriptors();
        const std::set<pid_t> threads = ProcessTable::threads();
        m_calls->client = std::make_unique<ChatClient>(TransferLimits{.idleness = 300ms});
        const std::clock_t before = std::clock();
        const HttpAnswer slow = keptAnswer().inPieces(64, 300ms);
        m_calls->server.answerEach(slow);
        for (int call = 1; call <= 2; ++call) {
            QElapsedTimer timer;
            timer.start();
            QCOMPARE(outcomeText(m_calls->ask()), u"hello"_s);
            QVERIFY(ProcessTable::threads() != threads);
            QTRY_VERIFY(ProcessTable::threads() == threads);
            QVERIFY(timer.hasExpired(300 * (slow.pieces.size() + 1))); // a call under way is no idleness
            QTRY_COMPARE(m_calls->server.openConnections(), 0);
            QTRY_COMPARE(ProcessTable::openDescriptors(), descriptors);
        }
        QVERIFY(std::clock() - before < CLOCKS_PER_SEC / 2); // the thread has slept while it waited
    }

private:
    static HttpAnswer keptAnswer() { return replyOf(u"hello"_s).keptAlive(); }

    std::optional<TestCertificate> m_certificate;
    std::unique_ptr<HttpServer> m_encrypted;
    Fresh<ChatCalls> m_calls{this};
};

QTEST_GUILESS_MAIN(TestChatConnections)
#include "TestChatConnections.moc"
