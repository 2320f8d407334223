#include "chat/core/SendFlowTexts.h"

#include "support/Warnings.h"

using namespace Qt::StringLiterals;

/// What the chat says to its user and to its log.
class TestSendFlowTexts final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void aMissingKey()
    {
        QCOMPARE(missingKeyEntry({u"kimi"_s, u"moonshot-v1-8k"_s}),
                 u"send aborted: missing api key for provider=kimi model=moonshot-v1-8k"_s);
        QCOMPARE(missingKeyText(u"kimi"_s), u"Configure an API Key for kimi before sending."_s);
    }

    void aRequestThatStarts()
    {
        QCOMPARE(requestStartedEntry({u"openai"_s, u"gpt-4o-mini"_s}, u"你好 there"_s),
                 u"request started: provider=openai model=gpt-4o-mini messageChars=8"_s);
        QCOMPARE(requestStartedEntry({u"openai"_s, u"%1 %2"_s},
                                     u"👨‍👩‍👧‍👦e\u0301"_s), // characters as a reader counts them
                 u"request started: provider=openai model=%1 %2 messageChars=2"_s);
    }

    void theKeyDialog()
    {
        QCOMPARE(apiKeyDialogText({u"deepseek"_s, u"deepseek-chat"_s}), u"deepseek / deepseek-chat"_s);
        QCOMPARE(apiKeyPlaceholder(u"openai"_s), u"OPENAI API Key"_s);
    }

    void conclusions_data()
    {
        QTest::addColumn<ChatOutcome>("outcome");
        QTest::addColumn<ChatConclusion>("conclusion");

        const QString succeeded = u"request succeeded"_s;
        const QString failed = u"request failed"_s;
        QTest::newRow("a reply is for the conversation")
            << ChatOutcome(ChatText{u"好的 👍🏽"_s})
            << ChatConclusion{succeeded, u"request succeeded: responseChars=4"_s, u"好的 👍🏽"_s, std::nullopt};
        QTest::newRow("a refusal is for an alert")
            << ChatOutcome(NeloChatError{u"HTTP 401: <b>no</b>"_s})
            << ChatConclusion{failed, u"request failed: HTTP 401: <b>no</b>"_s, std::nullopt, u"HTTP 401: <b>no</b>"_s};
        QTest::newRow("so is a transfer that failed")
            << ChatOutcome(ChatTransportError{u"The request timed out"_s})
            << ChatConclusion{failed, u"request failed: The request timed out"_s, std::nullopt,
                              u"The request timed out"_s};
    }

    void conclusions()
    {
        QFETCH(ChatOutcome, outcome);
        QFETCH(ChatConclusion, conclusion);
        QVERIFY(conclusionOf(outcome) == conclusion);
    }
};

QTEST_GUILESS_MAIN(TestSendFlowTexts)
#include "TestSendFlowTexts.moc"
