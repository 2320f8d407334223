#include "chat/ChatCalls.h"
#include "chat/core/ChatReport.h"
#include "support/Slowness.h"
#include "support/TestCase.h"

#include <QElapsedTimer>

#include <algorithm>

using namespace Qt::StringLiterals;

/// Calls that overlap, follow one another or are cancelled.
class TestChatCallsAtOnce final : public TestCase
{
    Q_OBJECT

private slots:
    void aHundredCallsAnsweredInReverseAllComplete()
    {
        constexpr int calls = 100;
        for (int call = 0; call < calls; ++call)
            m_calls->start(QString::number(call));

        HttpServer& server = m_calls->server;
        qsizetype answered = 0;
        while (answered < calls) {
            // There are six connections, so that six requests come at once. The last of them is answered first.
            QTRY_VERIFY(server.requests().size() == std::min<qsizetype>(answered + 6, calls));
            for (qsizetype index = server.requests().size() - 1; index >= answered; --index)
                server.answer(index, replyOf(questionOf(server.requests()[index])));
            answered = server.requests().size();
        }
        QVERIFY(m_calls->waitForOutcomes(calls));
        QStringList texts;
        for (const ChatOutcome& outcome : std::as_const(m_calls->outcomes))
            texts.append(outcomeText(outcome));
        for (int call = 0; call < calls; ++call)
            QCOMPARE(texts.count(QString::number(call)), 1);
    }

    void theFailureOfACallLeavesTheOthersAlone()
    {
        constexpr int calls = 60;
        m_calls->server.answerBy([](const HttpRequest& request) {
            const QString question = questionOf(request);
            return question.endsWith(QLatin1Char('7')) ? HttpAnswer::rawThenClose("HTTP/1.1 200 OK\r\nContent-")
                                                       : replyOf(question);
        });
        for (int call = 0; call < calls; ++call)
            m_calls->start(QString::number(call));
        QVERIFY(m_calls->waitForOutcomes(calls));
        const auto failed =
            std::count_if(m_calls->outcomes.begin(), m_calls->outcomes.end(),
                          [](const ChatOutcome& one) { return std::holds_alternative<ChatTransportError>(one); });
        QCOMPARE(failed, 6);
    }

    void aSlowProviderDoesNotHoldUpAnother()
    {
        for (int call = 0; call < 10; ++call) // more than there are connections; none is answered
            m_calls->start();
        HttpServer other;
        other.answerEach(replyOf(u"hello"_s));
        m_calls->setEndpoint(other.url());
        m_calls->start();
        QVERIFY(m_calls->waitForOutcomes(1));
        QCOMPARE(outcomeText(m_calls->outcomes.front()), u"hello"_s);
        QCOMPARE(m_calls->server.requests().size(), 6);
    }

    void noCallTimesOutWhileItWaitsForAnother()
    {
        m_calls->client = std::make_unique<ChatClient>(TransferLimits{.silence = std::chrono::milliseconds(600)});
        m_calls->server.answerBy([](const HttpRequest& request) {
            return replyOf(questionOf(request)).delayedBy(std::chrono::milliseconds(250));
        });
        for (int call = 0; call < 24; ++call) // four rounds, the last of which ends after a second
            m_calls->start(QString::number(call));
        QVERIFY(m_calls->waitForOutcomes(24));
        for (const ChatOutcome& outcome : std::as_const(m_calls->outcomes))
            QVERIFY2(std::holds_alternative<ChatText>(outcome), qPrintable(errorDescription(outcome)));
    }

    void aDeletedClientEndsItsCalls()
    {
        for (int call = 0; call < 10; ++call) // more than there are connections
            m_calls->start();
        QTRY_COMPARE(m_calls->server.requests().size(), 6);
        QElapsedTimer timer;
        timer.start();
        m_calls->client.reset();
        QVERIFY2(timer.elapsed() < 1000 * slowness, qPrintable(QString::number(timer.elapsed())));
        QTRY_COMPARE(m_calls->server.openConnections(), 0);
        QCOMPARE(m_calls->outcomes.size(), 0U);
        QCOMPARE(m_calls->server.requests().size(), 6);
    }

    void aCompletionMayDeleteItsClient()
    {
        m_calls->server.answerEach(replyOf(u"hello"_s));
        for (const QString& url : {m_calls->server.url(), QString()}) {
            m_calls->setEndpoint(url);
            m_calls->client = std::make_unique<ChatClient>();
            const auto endClient = [this](const ChatOutcome&) { m_calls->client.reset(); };
            m_calls->client->callChatAPI(u"openai"_s, u"m"_s, {}, u"k"_s, endClient);
            QTRY_VERIFY(!m_calls->client);
        }
    }

    void aCompletionMayCallAgain()
    {
        m_calls->server.answerEach(replyOf(u"hello"_s));
        m_calls->client->callChatAPI(u"openai"_s, u"m"_s, {}, u"k"_s, [this](const ChatOutcome&) { m_calls->start(); });
        QVERIFY(m_calls->waitForOutcomes(1));
        QCOMPARE(outcomeText(m_calls->outcomes.front()), u"hello"_s);
    }

private:
    Fresh<ChatCalls> m_calls{this};
};

QTEST_GUILESS_MAIN(TestChatCallsAtOnce)
#include "TestChatCallsAtOnce.moc"
