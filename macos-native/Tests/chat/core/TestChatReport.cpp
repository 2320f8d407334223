#include "chat/core/ChatReport.h"

#include "support/Warnings.h"

using namespace Qt::StringLiterals;

/// What is shown and logged at each step of a send.
class TestChatReport final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void stepsAreToldExactly()
    {
        const ChatTarget kimi{u"kimi"_s, u"moonshot-v1-8k"_s};
        const ChatReport missing = missingKeyReport(kimi);
        QCOMPARE(missing.logEntry, u"send aborted: missing api key for provider=kimi model=moonshot-v1-8k"_s);
        QCOMPARE(missing.failure, u"Configure an API Key for kimi before sending."_s);
        QCOMPARE(requestStartedReport(kimi, u"你好 there"_s).logEntry,
                 u"request started: provider=kimi model=moonshot-v1-8k messageChars=8"_s);
        const ChatTarget odd{u"openai"_s, u"%1 %2"_s};
        QCOMPARE(requestStartedReport(odd, u"👨‍👩‍👧‍👦e\u0301"_s)
                     .logEntry, // characters as a reader counts them
                 u"request started: provider=openai model=%1 %2 messageChars=2"_s);
    }

    void everyOutcomeIsReported_data()
    {
        QTest::addColumn<ChatOutcome>("outcome");
        QTest::addColumn<ChatReport>("report");
        const QString failed = u"request failed"_s;
        const QString refused = u"HTTP 401: <b>no</b>"_s;
        const QString timedOut = u"The request timed out"_s;
        QTest::newRow("a reply is for the conversation")
            << ChatOutcome(ChatText{u"好的 👍🏽"_s})
            << ChatReport{u"request succeeded"_s, u"request succeeded: responseChars=4"_s, u"好的 👍🏽"_s, {}};
        QTest::newRow("a refusal is for an alert")
            << ChatOutcome(NeloChatError{refused}) << ChatReport{failed, u"request failed: "_s + refused, {}, refused};
        QTest::newRow("so is a transfer that failed")
            << ChatOutcome(ChatTransportError{timedOut})
            << ChatReport{failed, u"request failed: "_s + timedOut, {}, timedOut};
    }

    void everyOutcomeIsReported()
    {
        QFETCH(ChatOutcome, outcome);
        QFETCH(ChatReport, report);
        QVERIFY(requestEndedReport(outcome) == report);
    }
};

QTEST_GUILESS_MAIN(TestChatReport)
#include "TestChatReport.moc"
