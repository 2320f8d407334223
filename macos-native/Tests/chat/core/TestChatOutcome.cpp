#include "chat/core/ChatOutcome.h"

#include "support/Warnings.h"

using namespace Qt::StringLiterals;

/// What is shown and logged of a request that has ended.
class TestChatOutcome final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

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
        QVERIFY(reportOf(outcome) == report);
    }
};

QTEST_GUILESS_MAIN(TestChatOutcome)
#include "TestChatOutcome.moc"
