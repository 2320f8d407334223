#include "backend/ReplyReader.h"

#include "backend/BackendReply.h"
#include "support/Corpora.h"
#include "support/JsonToString.h"
#include "support/Warnings.h"

#include <QTest>

namespace {

void addPublicParserTexts()
{
    QTest::addColumn<QByteArray>("text");
    const QList<JsonText> texts = Corpora::jsonTexts();
    QVERIFY(texts.size() > 300);
    for (const JsonText& row : texts) {
        if (!row.text.contains('\n')) // a line feed would have ended the line before
            QTest::newRow(row.name.constData()) << row.text;
    }
}

bool isParserError(const ReplyOutcome& outcome)
{
    return outcome.text.starts_with("ERROR: ");
}

} // namespace

/// What one line of the helper's output means.
class TestReplyReader final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void everyReplyHasOneMeaning_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QByteArray>("text");
        const QByteArray invalid("ERROR: invalid backend helper response");

        QTest::newRow("a result comes back compact")
            << QByteArray(R"({"ok": true, "result": {"b": [1, 2], "a": "x y"}})")
            << QByteArray(R"({"b":[1,2],"a":"x y"})");
        QTest::newRow("no result is an empty object") << QByteArray(R"({"ok": true})") << QByteArray("{}");
        QTest::newRow("a null result is its JSON text")
            << QByteArray(R"({"ok": true, "result": null})") << QByteArray("null");
        QTest::newRow("a boolean result is its JSON text")
            << QByteArray(R"({"ok":true,"result":true})") << QByteArray("true");
        QTest::newRow("a number result is its JSON text")
            << QByteArray(R"({"ok":true,"result":1.5})") << QByteArray("1.5");
        QTest::newRow("a text result is its JSON text")
            << QByteArray("{\"ok\":true,\"result\":\"a\\\"b\"}") << QByteArray("\"a\\\"b\"");
        QTest::newRow("Chinese text arrives unescaped")
            << QByteArray(R"({"ok":true,"result":["你好"]})") << QByteArray(R"(["你好"])");
        QTest::newRow("the order of the reply's keys does not matter")
            << QByteArray(R"({"result":[],"ok":true})") << QByteArray("[]");
        QTest::newRow("white space in texts stays, around the reply it goes")
            << QByteArray("  { \"ok\" : true , \"result\" : [ \"a  \\t b\" , 1.0 ] }  ")
            << QByteArray("[\"a  \\t b\",1.0]");
        QTest::newRow("a third member changes nothing")
            << QByteArray("{\"ok\": true, \"result\": [1, 2], \"more\": {}}") << QByteArray("[1,2]");
        QTest::newRow("of a key that stands twice the last counts")
            << QByteArray(R"({"ok":false,"ok":true,"result":1,"result":2})") << QByteArray("2");
        QTest::newRow("a failure gives its text")
            << QByteArray(R"({"ok":false,"error":"ValueError: bad"})") << QByteArray("ERROR: ValueError: bad");
        QTest::newRow("a failure's text is not JSON")
            << QByteArray("{\"ok\":false,\"error\":\"a\\n\\\"b\\\"\"}") << QByteArray("ERROR: a\n\"b\"");
        QTest::newRow("a failure without text is unknown")
            << QByteArray(R"({"ok":false})") << QByteArray("ERROR: unknown");
        QTest::newRow("an empty reply is unknown") << QByteArray("{}") << QByteArray("ERROR: unknown");
        QTest::newRow("ok missing is a failure") << QByteArray(R"({"result":1})") << QByteArray("ERROR: unknown");
        QTest::newRow("ok as a number is a failure")
            << QByteArray(R"({"ok":1,"result":1})") << QByteArray("ERROR: unknown");
        QTest::newRow("ok as text is a failure")
            << QByteArray(R"({"ok":"true","error":"x"})") << QByteArray("ERROR: x");
        QTest::newRow("a failure ignores its result")
            << QByteArray(R"({"ok":false,"result":1,"error":"x"})") << QByteArray("ERROR: x");
        QTest::newRow("an error that is null is described")
            << QByteArray(R"({"ok":false,"error":null})") << QByteArray("ERROR: <null>");
        QTest::newRow("an error that is a number is described")
            << QByteArray(R"({"ok":false,"error":7})") << QByteArray("ERROR: 7");
        QTest::newRow("an error that is true is described")
            << QByteArray(R"({"ok":false,"error":true})") << QByteArray("ERROR: 1");
        QTest::newRow("an error that is an object is described")
            << QByteArray(R"({"ok":false,"error":{"b": 1}})") << QByteArray(R"(ERROR: {"b":1})");
        QTest::newRow("a list is no reply") << QByteArray("[]") << invalid;
        QTest::newRow("a text is no reply") << QByteArray(R"("ok")") << invalid;
        QTest::newRow("null is no reply") << QByteArray("null") << invalid;
        QTest::newRow("a number is no reply") << QByteArray("1") << invalid;
        QTest::newRow("bytes that are not UTF-8 are no reply")
            << QByteArray("{\"ok\":true,\"result\":\"\xff\"}") << invalid;
        QTest::newRow("a carriage return before the line feed is white space")
            << QByteArray("{\"ok\":true,\"result\":[]}\r") << QByteArray("[]");
    }

    void everyReplyHasOneMeaning()
    {
        QFETCH(QByteArray, line);
        QFETCH(QByteArray, text);
        const ReplyOutcome outcome = ReplyReader().interpret(line.toStdString());
        QCOMPARE(QByteArray::fromStdString(outcome.text), text);
        QCOMPARE(outcome.helper, ReplyOutcome::Helper::Keep);
    }

    void textThatDoesNotParseDropsTheHelper_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("nothing at all") << QByteArray();
        QTest::newRow("a word") << QByteArray("hello");
        QTest::newRow("noise before the reply") << QByteArray(R"(debug {"ok":true,"result":[]})");
        QTest::newRow("noise behind the reply") << QByteArray(R"({"ok":true,"result":[]} done)");
        QTest::newRow("half a reply") << QByteArray("{\"ok\":true,\"resu");
        QTest::newRow("NaN") << QByteArray(R"({"ok":true,"result":NaN})");
        QTest::newRow("Infinity") << QByteArray(R"({"ok":true,"result":[-Infinity]})");
        QTest::newRow("an integer past 64 bits") << QByteArray(R"({"ok":true,"result":18446744073709551616})");
        QTest::newRow("a double past its range") << QByteArray(R"({"ok":true,"result":1e400})");
        QTest::newRow("a lone surrogate") << QByteArray(R"({"ok":true,"result":"\ud800"})");
        QTest::newRow("single quotes") << QByteArray(R"({'ok':true})");
    }

    void textThatDoesNotParseDropsTheHelper()
    {
        QFETCH(QByteArray, line);
        const ReplyOutcome outcome = ReplyReader().interpret(line.toStdString());
        QVERIFY(isParserError(outcome));
        QVERIFY(outcome.text.size() > errorText({}).size()); // it says why
        QCOMPARE(outcome.helper, ReplyOutcome::Helper::Drop);
    }

    void aResultKeepsItsNumbersAndOrder()
    {
        const std::string result = R"({"z":1,"a":1.0,"big":18446744073709551615,"small":-9223372036854775808,)"
                                   R"("third":0.1,"tiny":5e-324,"list":[3,2,1],"deep":{"y":null,"b":false}})";
        QCOMPARE(ReplyReader().interpret(R"({"ok": true, "result": )" + result + "}").text, result);
    }

    void nestingBeyondTheBoundIsAnError()
    {
        const auto reply = [](int depth) {
            const auto brackets = static_cast<std::size_t>(depth - 1); // the reply is one level itself
            return R"({"ok":true,"result":)" + std::string(brackets, '[') + std::string(brackets, ']') + '}';
        };
        QVERIFY(!isParserError(ReplyReader().interpret(reply(maxJsonDepth))));
        QVERIFY(isParserError(ReplyReader().interpret(reply(maxJsonDepth + 1))));
        QVERIFY(isParserError(ReplyReader().interpret(reply(100'000))));
    }

    void oneReaderReadsManyLines()
    {
        ReplyReader reader;
        for (const std::size_t length : {10U, 30'000'000U, 100U, 10'000U, 0U}) {
            const std::string text(length, 'x');
            QCOMPARE(reader.interpret("{\"ok\":true,\"result\":\"" + text + "\"}").text, '"' + text + '"');
            QVERIFY(isParserError(reader.interpret("{")));
            QVERIFY(isParserError(reader.interpret(std::string(600, '['))));
        }
    }

    void publicParserTextsAsResults_data() { addPublicParserTexts(); }

    void publicParserTextsAsResults()
    {
        QFETCH(QByteArray, text);
        const QByteArray name(QTest::currentDataTag());
        const ReplyOutcome outcome = ReplyReader().interpret(R"({"ok":true,"result":)" + text.toStdString() + '}');
        if (name.startsWith("y_"))
            QVERIFY2(Json::parse(outcome.text, nullptr, false) == Json::parse(text.toStdString()),
                     outcome.text.c_str());
        if (name.startsWith("n_"))
            QVERIFY2(isParserError(outcome), outcome.text.c_str());
    }

    void publicParserTextsAsReplies_data() { addPublicParserTexts(); }

    void publicParserTextsAsReplies()
    {
        QFETCH(QByteArray, text);
        // None of the texts has "ok", so each is an error of one kind or another.
        const ReplyOutcome outcome = ReplyReader().interpret(text.toStdString());
        QVERIFY(isParserError(outcome));
        if (QByteArray(QTest::currentDataTag()).startsWith("n_"))
            QCOMPARE(outcome.helper, text.isValidUtf8() ? ReplyOutcome::Helper::Drop : ReplyOutcome::Helper::Keep);
        if (QByteArray(QTest::currentDataTag()).startsWith("y_object"))
            QCOMPARE(outcome.text, errorText("unknown"));
    }
};

QTEST_GUILESS_MAIN(TestReplyReader)
#include "TestReplyReader.moc"
