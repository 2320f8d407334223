#include "backend/ReplyReader.h"

#include "backend/BackendReply.h"
#include "support/Cases.h"
#include "support/Corpora.h"
#include "support/JsonToString.h"
#include "support/TestCase.h"

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
class TestReplyReader final : public TestCase
{
    Q_OBJECT

private slots:
    void everyReplyHasOneMeaning_data()
    {
        const Cases<QByteArray, QByteArray> add("line", "text");
        const QByteArray invalid("ERROR: invalid backend helper response");

        add("a result comes back compact", R"({"ok": true, "result": {"b": [1, 2], "a": "x y"}})",
            R"({"b":[1,2],"a":"x y"})");
        add("no result is an empty object", R"({"ok": true})", "{}");
        add("a null result is its JSON text", R"({"ok": true, "result": null})", "null");
        add("a boolean result is its JSON text", R"({"ok":true,"result":true})", "true");
        add("a number result is its JSON text", R"({"ok":true,"result":1.5})", "1.5");
        add("a text result is its JSON text", "{\"ok\":true,\"result\":\"a\\\"b\"}", "\"a\\\"b\"");
        add("Chinese text arrives unescaped", R"({"ok":true,"result":["你好"]})", R"(["你好"])");
        add("the order of the reply's keys does not matter", R"({"result":[],"ok":true})", "[]");
        add("white space in texts stays, around the reply it goes",
            "  { \"ok\" : true , \"result\" : [ \"a  \\t b\" , 1.0 ] }  ", "[\"a  \\t b\",1.0]");
        add("a third member changes nothing", "{\"ok\": true, \"result\": [1, 2], \"more\": {}}", "[1,2]");
        add("of a key that stands twice the last counts", R"({"ok":false,"ok":true,"result":1,"result":2})", "2");
        add("a failure gives its text", R"({"ok":false,"error":"ValueError: bad"})", "ERROR: ValueError: bad");
        add("a failure's text is not JSON", "{\"ok\":false,\"error\":\"a\\n\\\"b\\\"\"}", "ERROR: a\n\"b\"");
        add("a failure without text is unknown", R"({"ok":false})", "ERROR: unknown");
        add("an empty reply is unknown", "{}", "ERROR: unknown");
        add("ok missing is a failure", R"({"result":1})", "ERROR: unknown");
        add("ok as a number is a failure", R"({"ok":1,"result":1})", "ERROR: unknown");
        add("ok as text is a failure", R"({"ok":"true","error":"x"})", "ERROR: x");
        add("a failure ignores its result", R"({"ok":false,"result":1,"error":"x"})", "ERROR: x");
        add("an error that is null is described", R"({"ok":false,"error":null})", "ERROR: <null>");
        add("an error that is a number is described", R"({"ok":false,"error":7})", "ERROR: 7");
        add("an error that is true is described", R"({"ok":false,"error":true})", "ERROR: 1");
        add("an error that is an object is described", R"({"ok":false,"error":{"b": 1}})", R"(ERROR: {"b":1})");
        add("a list is no reply", "[]", invalid);
        add("a text is no reply", R"("ok")", invalid);
        add("null is no reply", "null", invalid);
        add("a number is no reply", "1", invalid);
        add("bytes that are not UTF-8 are no reply", "{\"ok\":true,\"result\":\"\xff\"}", invalid);
        add("a carriage return before the line feed is white space", "{\"ok\":true,\"result\":[]}\r", "[]");
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
        const Cases<QByteArray> add("line");
        add("nothing at all", {});
        add("a word", "hello");
        add("noise before the reply", R"(debug {"ok":true,"result":[]})");
        add("noise behind the reply", R"({"ok":true,"result":[]} done)");
        add("half a reply", "{\"ok\":true,\"resu");
        add("NaN", R"({"ok":true,"result":NaN})");
        add("Infinity", R"({"ok":true,"result":[-Infinity]})");
        add("an integer past 64 bits", R"({"ok":true,"result":18446744073709551616})");
        add("a double past its range", R"({"ok":true,"result":1e400})");
        add("a lone surrogate", R"({"ok":true,"result":"\ud800"})");
        add("single quotes", R"({'ok':true})");
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
