#include "chat/core/NeloChatMessage.h"

#include "support/Warnings.h"

#include <QDateTime>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QByteArray goodElement = R"({"role":"user","content":"hi","createdAt":"2025-01-01T00:00:00Z"})";
const NeloChatMessage goodMessage{u"user"_s, u"hi"_s, u"2025-01-01T00:00:00Z"_s};

NeloChatMessage messageOf(const QString& content)
{
    return {u"assistant"_s, content, u"2025-01-31T09:30:00Z"_s};
}

} // namespace

/// The record of the conversation, its form in the history file, and which texts are greetings.
class TestNeloChatMessage final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void aRecordOfNowCarriesTheTime()
    {
        const QDateTime before = QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch(), Qt::UTC);
        const NeloChatMessage message = NeloChatMessage::now(u"user"_s, u"hi"_s);
        const QDateTime after = QDateTime::currentDateTimeUtc();
        QCOMPARE(message.role, u"user"_s);
        QCOMPARE(message.content, u"hi"_s);
        static const QRegularExpression form(u"^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ$"_s);
        QVERIFY2(form.match(message.createdAt).hasMatch(), qPrintable(message.createdAt));
        const QDateTime created = QDateTime::fromString(message.createdAt, Qt::ISODate);
        QVERIFY(before <= created && created <= after);
    }

    void theListIsOneCompactArray()
    {
        QCOMPARE(encodeChatMessages({}), QByteArray("[]"));
        QCOMPARE(encodeChatMessages({goodMessage, messageOf(u"你好"_s)}),
                 '[' + goodElement + R"(,{"role":"assistant","content":"你好","createdAt":"2025-01-31T09:30:00Z"}])");
    }

    void anyTextComesBackAsItWas_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("lines and tabs") << u"one\r\n\ttwo\n"_s;
        QTest::newRow("quotes and backslashes") << u"\"\\\"/"_s;
        QTest::newRow("markup") << u"<b>&amp;</b>"_s;
        QTest::newRow("a zero character") << u"a"_s + QChar(0) + u"b"_s;
        QTest::newRow("a byte-order mark") << QString(QChar(0xfeff)) + u"a"_s;
        QTest::newRow("what is no character") << QString(QChar(0xffff));
        QTest::newRow("1 MB") << QString(1'000'000, u'x');
    }

    void anyTextComesBackAsItWas()
    {
        QFETCH(QString, text);
        const QList<NeloChatMessage> messages{{text, text, text}};
        QCOMPARE(decodeChatMessages(encodeChatMessages(messages)), messages);
    }

    void halfASurrogatePairIsWrittenAsAQuestionMark()
    {
        const QChar half(0xd83d);
        const auto again = decodeChatMessages(encodeChatMessages({messageOf(half + u"a"_s + half)}));
        QCOMPARE(again, QList{messageOf(u"?a?"_s)});
    }

    void decodesWhatIsAListOfRecords_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<qsizetype>("count");
        QTest::newRow("an empty array") << QByteArray("[]") << qsizetype(0);
        QTest::newRow("one record") << '[' + goodElement + ']' << qsizetype(1);
        QTest::newRow("pretty-printed") << " [\n " + goodElement + ",\n " + goodElement + "\n]\n" << qsizetype(2);
        QTest::newRow("a byte-order mark before it") << "\xef\xbb\xbf[" + goodElement + ']' << qsizetype(1);
        QTest::newRow("other keys") << QByteArray(
            R"([{"id":7,"role":"user","tags":[{}],"content":"hi","createdAt":"2025-01-01T00:00:00Z","x":null}])")
                                    << qsizetype(1);
        QTest::newRow("keys in another order")
            << QByteArray(R"([{"createdAt":"2025-01-01T00:00:00Z","content":"hi","role":"user"}])") << qsizetype(1);
        QTest::newRow("escaped characters")
            << QByteArray(R"([{"role":"\u0075ser","content":"h\u0069","createdAt":"2025-01-01T00:00:00Z"}])")
            << qsizetype(1);
        QTest::newRow("the last of two equal keys counts")
            << QByteArray(R"([{"role":"assistant","role":"user","content":"hi","createdAt":"2025-01-01T00:00:00Z"}])")
            << qsizetype(1);
    }

    void decodesWhatIsAListOfRecords()
    {
        QFETCH(QByteArray, json);
        QFETCH(qsizetype, count);
        QCOMPARE(decodeChatMessages(json), QList<NeloChatMessage>(count, goodMessage));
    }

    void refusesTheWholeListForOneBadElement_data()
    {
        QTest::addColumn<QByteArray>("json");
        const auto withGoodOnes = [](const QByteArray& element) {
            return '[' + goodElement + ',' + element + ',' + goodElement + ']';
        };
        QTest::newRow("no bytes") << QByteArray();
        QTest::newRow("an object instead of the array") << goodElement;
        QTest::newRow("something after the array") << '[' + goodElement + "] x";
        QTest::newRow("no role") << withGoodOnes(R"({"content":"x","createdAt":"x"})");
        QTest::newRow("no content") << withGoodOnes(R"({"role":"x","createdAt":"x"})");
        QTest::newRow("no createdAt") << withGoodOnes(R"({"role":"x","content":"x"})");
        QTest::newRow("a key in other letters") << withGoodOnes(R"({"Role":"x","content":"x","createdAt":"x"})");
        QTest::newRow("a number for role") << withGoodOnes(R"({"role":1,"content":"x","createdAt":"x"})");
        QTest::newRow("null for content") << withGoodOnes(R"({"role":"x","content":null,"createdAt":"x"})");
        QTest::newRow("a list for content") << withGoodOnes(R"({"role":"x","content":["x"],"createdAt":"x"})");
        QTest::newRow("a boolean for createdAt") << withGoodOnes(R"({"role":"x","content":"x","createdAt":true})");
        QTest::newRow("a string among the objects") << withGoodOnes("\"x\"");
        QTest::newRow("a list among the objects") << withGoodOnes("[]");
        QTest::newRow("an empty object") << withGoodOnes("{}");
        QTest::newRow("a zero byte after it") << QByteArray("[]\0", 3);
        QTest::newRow("100,000 brackets") << QByteArray(100'000, '[');
    }

    void refusesTheWholeListForOneBadElement()
    {
        QFETCH(QByteArray, json);
        QCOMPARE(decodeChatMessages(json), std::nullopt);
    }

    void refusesAListThatIsCutAnywhere()
    {
        const QByteArray whole = encodeChatMessages({goodMessage, messageOf(u"你好 👋"_s)});
        QVERIFY(decodeChatMessages(whole));
        for (qsizetype length = 0; length < whole.size(); ++length)
            QVERIFY2(!decodeChatMessages(whole.first(length)), qPrintable(QString::number(length)));
    }

    void theWelcomeIsExact() { QCOMPARE(neloWelcomeMessage, u"您好，nelo为您服务，我为您提供最简单的AI入口服务。"_s); }

    void recognisesGreetings_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isGreeting");

        for (const QString& greeting : {u"你好"_s, u"您好"_s, u"hello"_s, u"hi"_s, u"嗨"_s, u"在吗"_s})
            QTest::newRow(qPrintable(greeting)) << greeting << true;
        QTest::newRow("capitals do not matter") << u"HELLO"_s << true;
        QTest::newRow("nor do some of them") << u"Hi"_s << true;
        QTest::newRow("a mark at the end makes it something else") << u"Hello!"_s << false;
        QTest::newRow("two words are something else") << u"hello there"_s << false;
        QTest::newRow("a part of one is something else") << u"hell"_s << false;
        QTest::newRow("a longer Chinese one is something else") << u"你好吗"_s << false;
        QTest::newRow("blanks are somebody else's work") << u" hi"_s << false;
        QTest::newRow("nothing is no greeting") << QString() << false;
    }

    void recognisesGreetings()
    {
        QFETCH(QString, text);
        QTEST(isLocalGreeting(text), "isGreeting");
    }
};

QTEST_GUILESS_MAIN(TestNeloChatMessage)
#include "TestNeloChatMessage.moc"
