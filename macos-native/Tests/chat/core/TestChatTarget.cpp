#include "chat/core/ChatTarget.h"

#include "support/Warnings.h"

using namespace Qt::StringLiterals;

/// The texts that name a model and its provider.
class TestChatTarget final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void textsAreExact()
    {
        const ChatTarget kimi{u"kimi"_s, u"moonshot-v1-8k"_s};
        QCOMPARE(kimi.missingKeyEntry(), u"send aborted: missing api key for provider=kimi model=moonshot-v1-8k"_s);
        QCOMPARE(kimi.missingKeyText(), u"Configure an API Key for kimi before sending."_s);
        QCOMPARE(kimi.apiKeyDialogText(), u"kimi / moonshot-v1-8k"_s);
        QCOMPARE(kimi.apiKeyPlaceholder(), u"KIMI API Key"_s);
        QCOMPARE(kimi.requestStartedEntry(u"你好 there"_s),
                 u"request started: provider=kimi model=moonshot-v1-8k messageChars=8"_s);
        const ChatTarget odd{u"openai"_s, u"%1 %2"_s};
        QCOMPARE(odd.requestStartedEntry(u"👨‍👩‍👧‍👦e\u0301"_s), // characters as a reader counts them
                 u"request started: provider=openai model=%1 %2 messageChars=2"_s);
    }
};

QTEST_GUILESS_MAIN(TestChatTarget)
#include "TestChatTarget.moc"
