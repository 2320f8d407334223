#include "chat/core/NeloChatMessage.h"

#include "base/Text.h"
#include "support/CaseTable.h"
#include "support/TestCase.h"

#include <QDateTime>

using namespace Qt::StringLiterals;

const QByteArray goodElement = R"({"role":"user","content":"hi","createdAt":"2025-01-01T00:00:00Z"})";
const NeloChatMessage goodMessage{u"user"_s, u"hi"_s, u"2025-01-01T00:00:00Z"_s};

/// The record of the conversation, its form in the history file, and which texts are greetings.
class TestNeloChatMessage final : public TestCase
{
    Q_OBJECT

private slots:
    void aRecordOfNowCarriesTheTime()
    {
        const QString before = isoTimestamp(QDateTime::currentDateTimeUtc());
        const NeloChatMessage message = NeloChatMessage::now(u"user"_s, u"hi"_s);
        const QString after = isoTimestamp(QDateTime::currentDateTimeUtc());
        QVERIFY2(before <= message.createdAt && message.createdAt <= after, qPrintable(message.createdAt));
        QCOMPARE(message, (NeloChatMessage{u"user"_s, u"hi"_s, message.createdAt}));
    }

    void theListIsOneCompactArray()
    {
        QCOMPARE(encodeChatMessages({}), QByteArray("[]"));
        QCOMPARE(encodeChatMessages({goodMessage, messageOf(u"你好"_s)}),
                 '[' + goodElement + R"(,{"role":"assistant","content":"你好","createdAt":"2025-01-31T09:30:00Z"}])");
    }

    void anyTextComesBackAsItWas()
    {
        for (const QString& text : {u"one\r\n\ttwo\n"_s, u"\"\\\"/"_s, u"<b>&amp;</b>"_s, u"a"_s + QChar(0) + u"b"_s,
                                    u"\ufeffa"_s, QString(QChar(0xffff)), QString(1'000'000, u'x')}) {
            const QList<NeloChatMessage> messages{{text, text, text}};
            QCOMPARE(decodeChatMessages(encodeChatMessages(messages)), messages);
        }
    }

    void halfASurrogatePairIsWrittenAsAQuestionMark()
    {
        const QChar half(0xd83d);
        const auto again = decodeChatMessages(encodeChatMessages({messageOf(half + u"a"_s + half)}));
        QCOMPARE(again, QList{messageOf(u"?a?"_s)});
    }

    void decodesAListOfRecords()
    {
        const CaseTable<QByteArray, qsizetype> cases{
            {"an empty array", "[]", 0},
            {"one record", '[' + goodElement + ']', 1},
            {"pretty-printed", " [\n " + goodElement + ",\n " + goodElement + "\n]\n", 2},
            {"a byte-order mark before it", "\xef\xbb\xbf[" + goodElement + ']', 1},
            {"other keys",
             R"([{"id":7,"role":"user","tags":[{}],"content":"hi","createdAt":"2025-01-01T00:00:00Z","x":null}])", 1},
            {"keys in another order", R"([{"createdAt":"2025-01-01T00:00:00Z","content":"hi","role":"user"}])", 1},
            {"escaped characters", R"([{"role":"\u0075ser","content":"h\u0069","createdAt":"2025-01-01T00:00:00Z"}])",
             1},
            {"the last of two equal keys counts",
             R"([{"role":"assistant","role":"user","content":"hi","createdAt":"2025-01-01T00:00:00Z"}])", 1},
        };
        for (const auto& [json, count] : cases)
            QCOMPARE(decodeChatMessages(json), QList<NeloChatMessage>(count, goodMessage));
    }

    void refusesTheWholeListForOneBadElement()
    {
        for (const char* bad :
             {R"({"content":"x","createdAt":"x"})", R"({"role":"x","createdAt":"x"})", R"({"role":"x","content":"x"})",
              R"({"Role":"x","content":"x","createdAt":"x"})", R"({"role":1,"content":"x","createdAt":"x"})",
              R"({"role":"x","content":null,"createdAt":"x"})", R"({"role":"x","content":["x"],"createdAt":"x"})",
              R"({"role":"x","content":"x","createdAt":true})", "\"x\"", "[]", "{}"})
            QVERIFY2(!decodeChatMessages('[' + goodElement + ',' + bad + ',' + goodElement + ']'), bad);
        for (const QByteArray& text :
             {QByteArray(), goodElement, '[' + goodElement + "] x", QByteArray("[]\0", 3), QByteArray(100'000, '[')})
            QVERIFY2(!decodeChatMessages(text), text.left(100).constData());
    }

    void refusesAnIncompleteList()
    {
        const QByteArray whole = encodeChatMessages({goodMessage, messageOf(u"你好 👋"_s)});
        QVERIFY(decodeChatMessages(whole));
        for (qsizetype length = 0; length < whole.size(); ++length)
            QVERIFY2(!decodeChatMessages(whole.first(length)), qPrintable(QString::number(length)));
    }

    void theWelcomeIsExact() { QCOMPARE(neloWelcomeMessage, u"您好，nelo为您服务，我为您提供最简单的AI入口服务。"_s); }

    void recognisesGreetings()
    {
        for (const QString& greeting :
             {u"你好"_s, u"您好"_s, u"hello"_s, u"hi"_s, u"嗨"_s, u"在吗"_s, u"HELLO"_s, u"Hi"_s})
            QVERIFY2(isLocalGreeting(greeting), qPrintable(greeting));
        for (const QString& other :
             {u"Hello!"_s, u"hello there"_s, u"hell"_s, u"你好吗"_s, u" hi"_s, QString()}) // the caller removes blanks
            QVERIFY2(!isLocalGreeting(other), qPrintable(other));
    }

private:
    static NeloChatMessage messageOf(const QString& content)
    {
        return {u"assistant"_s, content, u"2025-01-31T09:30:00Z"_s};
    }
};

QTEST_GUILESS_MAIN(TestNeloChatMessage)
#include "TestNeloChatMessage.moc"
