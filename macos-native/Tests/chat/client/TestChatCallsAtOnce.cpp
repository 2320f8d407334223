#include "chat/ChatCalls.h"
#include "chat/core/ChatReport.h"
#include "support/Slowness.h"
#include "support/TestCase.h"

#include <QElapsedTimer>

#include <algorithm>

using namespace Qt::StringLiterals;

/// Calls that overlap, follow one another and are given up.
class TestChatCallsAtOnce final : public TestCase
{
    Q_OBJECT

private slots:
    void repliesCompleteInTheOrderTheyCome()
    {
        for (const char* question : {"a", "b", "c"})
            m_calls->start(QString::fromLatin1(question));
        HttpServer& server = m_calls->server;
        QTRY_COMPARE(server.requests().size(), 3);
        const auto answer = [&server](const QString& question) {
            const auto asked =
                std::find_if(server.requests().begin(), server.requests().end(),
                             [&](const HttpRequest& request) { return questionOf(request) == question; });
            server.answer(asked - server.requests().begin(), replyOf(question));
        };
        for (const char* question : {"b", "c", "a"}) {
            const std::size_t before = m_calls->outcomes.size();
            answer(QString::fromLatin1(question));
            QVERIFY(m_calls->waitForOutcomes(before + 1));
            QCOMPARE(textOf(m_calls->outcomes.back()), QString::fromLatin1(question));
        }
    }

    void aHundredCallsAnsweredInReverseAllComplete()
    {
        constexpr int calls = 100;
        for (int call = 0; call < calls; ++call)
            m_calls->start(QString::number(call));

        HttpServer& server = m_calls->server;
        qsizetype answered = 0;
        while (answered < calls) {
            // As many as there are connections come at once; the last of them is answered first.
            QTRY_VERIFY(server.requests().size() == std::min<qsizetype>(answered + 6, calls));
            for (qsizetype index = server.requests().size() - 1; index >= answered; --index)
                server.answer(index, replyOf(questionOf(server.requests()[index])));
            answered = server.requests().size();
        }
        QVERIFY(m_calls->waitForOutcomes(calls));
        QStringList texts;
        for (const ChatOutcome& outcome : std::as_const(m_calls->outcomes))
            texts.append(textOf(outcome));
        texts.removeDuplicates();
        QCOMPARE(texts.size(), calls);
        QVERIFY(std::all_of(texts.begin(), texts.end(), [](const QString& text) { return text.toInt() < calls; }));
    }

    void oneFailureIsNotThatOfTheOthers()
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
        QCOMPARE(textOf(m_calls->outcomes.front()), u"hello"_s);
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

    void aClientThatGoesTakesItsCallsWithIt()
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

    void aCompletionMayEndItsClient()
    {
        m_calls->server.answerEach(replyOf(u"hello"_s));
        int completions = 0;
        const auto endClient = [this, &completions](const ChatOutcome&) {
            ++completions;
            m_calls->client.reset();
        };
        m_calls->client->callChatAPI(u"openai"_s, u"m"_s, {}, u"k"_s, endClient);
        QTRY_COMPARE(completions, 1);

        m_calls->client = std::make_unique<ChatClient>();
        m_calls->setEndpoint(QString());
        m_calls->client->callChatAPI(u"openai"_s, u"m"_s, {}, u"k"_s, endClient);
        QCOMPARE(completions, 2);
    }

    void aCompletionMayCallAgain()
    {
        m_calls->server.answerEach(replyOf(u"hello"_s));
        m_calls->client->callChatAPI(u"openai"_s, u"m"_s, {}, u"k"_s, [this](const ChatOutcome&) { m_calls->start(); });
        QVERIFY(m_calls->waitForOutcomes(1));
        QCOMPARE(textOf(m_calls->outcomes.front()), u"hello"_s);
    }

private:
    Fresh<ChatCalls> m_calls{this};
};

QTEST_GUILESS_MAIN(TestChatCallsAtOnce)
#include "TestChatCallsAtOnce.moc"
