#include "chat/core/ChatReport.h"

#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// What is shown and logged at each step of a send.
class TestChatReport final : public TestCase
{
    Q_OBJECT

private slots:
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

    void everyOutcomeIsReported()
    {
        const QString succeeded = u"request succeeded"_s;
        QVERIFY(requestEndedReport(ChatText{u"好的 👍🏽"_s})
                == (ChatReport{succeeded, succeeded + u": responseChars=4"_s, u"好的 👍🏽"_s, {}}));
        const QString failed = u"request failed"_s;
        const QString text = u"HTTP 401: <b>no</b>"_s;
        const ChatReport expected{failed, failed + u": "_s + text, {}, text};
        QVERIFY(requestEndedReport(NeloChatError{text}) == expected);
        QVERIFY(requestEndedReport(ChatTransportError{text}) == expected);
    }
};

QTEST_GUILESS_MAIN(TestChatReport)
#include "TestChatReport.moc"
