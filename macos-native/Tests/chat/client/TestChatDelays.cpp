#include "chat/ChatCalls.h"
#include "support/CaseTable.h"
#include "support/Files.h"
#include "support/Slowness.h"
#include "support/TestCase.h"
#include "support/TestCertificate.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QScopeGuard>

#include <csignal>

#include <sys/mount.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QHostAddress here(u"10.9.9.1"_s);
const QString farAway = u"10.9.9.2"_s; // the same machine, behind a path with delay

/// Lets the path lose every packet, as long as the returned guard lives.
[[nodiscard]] auto deadPath()
{
    kill(getppid(), SIGUSR1);
    return qScopeGuard([] { kill(getppid(), SIGUSR2); });
}

} // namespace

/// Calls over a path with delay, which support/delayed_network.py makes.
class TestChatDelays final : public TestCase
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const TestCertificate certificate = TestCertificate::make(u"IP:"_s + farAway);
        Files::create(m_home.path(u"authorities.pem"_s), certificate.certificate.toPem());
        m_server = std::make_unique<HttpServer>(certificate.forServer(), here);
    }

    void init() override
    {
        TestCase::init();
        m_server->answerEach(keptAnswer());
        m_limits = TransferLimits{.authoritiesFile = QFile::encodeName(m_home.path(u"authorities.pem"_s))};
        begin();
    }

    void aKeptConnectionTakesOneRoundTrip()
    {
        const CaseTable<int, int> cases{
            {"1 KB", 1'000, 1}, {"20 KB", 20'000, 1}, {"100 KB", 100'000, 2}, // more than fits into one window of TCP
        };
        for (const auto& [bytes, maxRoundTrips] : cases) {
            begin();
            QCOMPARE(roundTripsOfCall(1'000), 3); // TCP's, TLS's and its own
            for (int call = 0; call < 3; ++call)  // until TCP has found the capacity of the path
                roundTripsOfCall(bytes);
            QVERIFY(roundTripsOfCall(bytes) <= maxRoundTrips);
        }
    }

    void aServerMayCloseRightAfterARedirect()
    {
        HttpAnswer redirect = HttpAnswer::redirect(307, "/next").keptAlive();
        redirect.pieces.append({50ms, {}}); // the connection closes while the next request is sent
        redirect.end = HttpAnswer::End::Close;
        m_server->answerInTurn({redirect, keptAnswer()});
        QCOMPARE(outcomeText(m_calls->ask()), u"hello"_s);
    }

    void aDeadPathUnderAKeptConnectionIsReportedSoon()
    {
        QCOMPARE(TransferLimits().acknowledgement, 15s);
        m_limits.acknowledgement = 1s;
        begin();
        QCOMPARE(outcomeText(m_calls->ask()), u"hello"_s);
        const qsizetype requests = m_server->requests().size();
        {
            const auto dead = deadPath();
            QCOMPARE(outcomeText(m_calls->ask()),
                     u"<10.9.9.2: the connection closed before an answer; the message may have arrived>"_s);
        }
        QCOMPARE(m_server->requests().size(), requests);
        QCOMPARE(outcomeText(m_calls->ask()), u"hello"_s);
        QCOMPARE(m_server->requests().size(), requests + 1);
    }

    void aPathThatIsDeadFromTheStartTimesOut()
    {
        m_limits.silence = 300ms;
        begin();
        const auto dead = deadPath();
        QCOMPARE(outcomeText(m_calls->ask()), u"<10.9.9.2: Timeout was reached>"_s);
    }

    void aNetworkThatComesLaterIsFound()
    {
        QCOMPARE(QProcess::execute(u"ip"_s, u"link set delayed down"_s.split(u' ')), 0);
        QCOMPARE(outcomeText(m_calls->ask()), u"<10.9.9.2: Couldn't connect to server>"_s);
        QCOMPARE(QProcess::execute(u"ip"_s, u"link set delayed up"_s.split(u' ')), 0);
        QCOMPARE(outcomeText(m_calls->ask()), u"hello"_s);
    }

    void aSilentNameServerIsNotWaitedFor()
    {
        const QByteArray file = QFile::encodeName(m_home.path(u"resolv.conf"_s));
        Files::create(QString::fromUtf8(file), "nameserver 10.9.9.2\noptions timeout:30\n");
        QCOMPARE(mount(file.constData(), "/etc/resolv.conf", nullptr, MS_BIND, nullptr), 0);
        const auto dead = deadPath();
        m_limits.silence = 300ms;
        begin();
        m_calls->setEndpoint(u"https://api.example/"_s);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(outcomeText(m_calls->ask()), u"<api.example: Timeout was reached>"_s);
        m_calls->start();
        m_calls->client.reset();
        QVERIFY2(timer.elapsed() < 3000 * slowness, qPrintable(QString::number(timer.elapsed())));
    }

private:
    static HttpAnswer keptAnswer() { return replyOf(u"hello"_s).keptAlive(); }
    /// Makes a client with `m_limits`.
    void begin()
    {
        m_calls->client = std::make_unique<ChatClient>(m_limits);
        m_calls->setEndpoint(m_server->url().replace(here.toString(), farAway));
    }

    int roundTripsOfCall(int bytes)
    {
        static const double roundTrip = qEnvironmentVariable("NELO_ROUND_TRIP").toDouble();
        QElapsedTimer timer;
        timer.start();
        m_calls->outcomes.clear();
        m_calls->start(QString(bytes, u'x'));
        m_calls->waitForOutcomes(1);
        return qRound(static_cast<double>(timer.elapsed()) / roundTrip);
    }

    TestHome m_home;
    TransferLimits m_limits;
    std::unique_ptr<HttpServer> m_server;
    Fresh<ChatCalls> m_calls{this};
};

QTEST_GUILESS_MAIN(TestChatDelays)
#include "TestChatDelays.moc"
