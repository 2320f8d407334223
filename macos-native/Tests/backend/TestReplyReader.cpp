#include "backend/ReplyReader.h"

#include "backend/BackendReply.h"
#include "support/CaseTable.h"
#include "support/Corpora.h"
#include "support/JsonToString.h"
#include "support/TestCase.h"

/// The interpretation of one line of the helper's output.
class TestReplyReader final : public TestCase
{
    Q_OBJECT

private slots:
    void everyReplyHasOneMeaning()
    {
        const QByteArray invalid("ERROR: invalid backend helper response");
        const CaseTable<QByteArray, QByteArray> cases{
            {"a result comes back compact", R"({"ok": true, "result": {"b": [1, 2], "a": "x y"}})",
             R"({"b":[1,2],"a":"x y"})"},
            {"also when only the result has blanks", R"({"ok":true,"result":{"b": [1, 2], "a":"x y"} })",
             R"({"b":[1,2],"a":"x y"})"},
            {"or tabulators", "{\"ok\":true,\"result\":[1,\t2]}", "[1,2]"},
            {"or carriage returns", "{\"ok\":true,\"result\":[1,\r2]}", "[1,2]"},
            {"no result is an empty object", R"({"ok": true})", "{}"},
            {"a null result is its JSON text", R"({"ok": true, "result": null})", "null"},
            {"a boolean result is its JSON text", R"({"ok":true,"result":true})", "true"},
            {"a number result is its JSON text", R"({"ok":true,"result":1.5})", "1.5"},
            {"a text result is its JSON text", "{\"ok\":true,\"result\":\"a\\\"b\"}", "\"a\\\"b\""},
            {"Chinese text arrives unescaped", R"({"ok":true,"result":["你好"]})", R"(["你好"])"},
            {"the order of the reply's keys does not matter", R"({"result":[],"ok":true})", "[]"},
            {"white space in texts stays, around the reply it goes",
             "  { \"ok\" : true , \"result\" : [ \"a  \\t b\" , 1.0 ] }  ", "[\"a  \\t b\",1.0]"},
            {"a third member changes nothing", "{\"ok\": true, \"result\": [1, 2], \"more\": {}}", "[1,2]"},
            {"of a key that stands twice the last counts", R"({"ok":false,"ok":true,"result":1,"result":2})", "2"},
            {"a failure gives its text", R"({"ok":false,"error":"ValueError: bad"})", "ERROR: ValueError: bad"},
            {"a failure's text is not JSON", "{\"ok\":false,\"error\":\"a\\n\\\"b\\\"\"}", "ERROR: a\n\"b\""},
            {"a failure without text is unknown", R"({"ok":false})", "ERROR: unknown"},
            {"an empty reply is unknown", "{}", "ERROR: unknown"},
            {"ok missing is a failure", R"({"result":1})", "ERROR: unknown"},
            {"ok as a number is a failure", R"({"ok":1,"result":1})", "ERROR: unknown"},
            {"ok as text is a failure", R"({"ok":"true","error":"x"})", "ERROR: x"},
            {"a failure ignores its result", R"({"ok":false,"result":1,"error":"x"})", "ERROR: x"},
            {"an error that is null is described", R"({"ok":false,"error":null})", "ERROR: <null>"},
            {"an error that is a number is described", R"({"ok":false,"error":7})", "ERROR: 7"},
            {"an error that is true is described", R"({"ok":false,"error":true})", "ERROR: 1"},
            {"an error that is an object is described", R"({"ok":false,"error":{"b": 1}})", R"(ERROR: {"b":1})"},
            {"a list is no reply", "[]", invalid},
            {"a text is no reply", R"("ok")", invalid},
            {"null is no reply", "null", invalid},
            {"a number is no reply", "1", invalid},
            {"bytes that are not UTF-8 are no reply", "{\"ok\":true,\"result\":\"\xff\"}", invalid},
            {"a carriage return before the line feed is white space", "{\"ok\":true,\"result\":[]}\r", "[]"},
        };
        for (const auto& [line, text] : cases) {
            const ReplyOutcome outcome = ReplyReader().interpret(line.toStdString());
            QCOMPARE(QByteArray::fromStdString(outcome.text), text);
            QCOMPARE(outcome.helper, ReplyOutcome::Helper::Keep);
        }
    }

    void textThatDoesNotParseDropsTheHelper()
    {
        const CaseTable<QByteArray> cases{
            {"nothing at all", {}},
            {"a word", "hello"},
            {"noise before the reply", R"(debug {"ok":true,"result":[]})"},
            {"noise behind the reply", R"({"ok":true,"result":[]} done)"},
            {"half a reply", "{\"ok\":true,\"resu"},
            {"NaN", R"({"ok":true,"result":NaN})"},
            {"Infinity", R"({"ok":true,"result":[-Infinity]})"},
            {"an integer past 64 bits", R"({"ok":true,"result":18446744073709551616})"},
            {"a double past its range", R"({"ok":true,"result":1e400})"},
            {"a lone surrogate", R"({"ok":true,"result":"\ud800"})"},
            {"single quotes", R"({'ok':true})"},
        };
        for (const auto& [line] : cases) {
            const ReplyOutcome outcome = ReplyReader().interpret(line.toStdString());
            QVERIFY(isParserError(outcome));
            QVERIFY(outcome.text.size() > errorText({}).size()); // it has a reason
            QCOMPARE(outcome.helper, ReplyOutcome::Helper::Drop);
        }
    }

    void aResultKeepsItsNumbersAndOrder()
    {
        const std::string result = R"({"z":1,"a":1.0,"big":18446744073709551615,"small":-9223372036854775808,)"
                                   R"("third":0.1,"tiny":5e-324,"list":[3,2,1],"deep":{"y":null,"b":false}})";
        QCOMPARE(ReplyReader().interpret(R"({"ok":true,"result":)" + result + "}").text, result);
    }

    void nestingBeyondTheBoundIsAnError()
    {
        const auto reply = [](int depth) {
            const auto brackets = static_cast<std::size_t>(depth - 1); // the reply is one level
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
            const std::string text(length, ' '); // which stay
            QCOMPARE(reader.interpret("{\"ok\":true,\"result\":\"" + text + "\"}").text, '"' + text + '"');
            QVERIFY(isParserError(reader.interpret("{")));
            QVERIFY(isParserError(reader.interpret(std::string(600, '['))));
        }
    }

    void textsOfAPublicSuiteAsResultsAndAsReplies()
    {
        const QList<JsonText> texts = Corpora::jsonTexts();
        QVERIFY(texts.size() > 300);
        for (const JsonText& row : texts) {
            const std::string text = row.text.toStdString();
            if (row.text.contains('\n')) // a line feed would have ended the line before
                continue;
            const ReplyOutcome asResult = ReplyReader().interpret(R"({"ok":true,"result":)" + text + '}');
            if (row.name.startsWith("y_"))
                QVERIFY2(Json::parse(asResult.text, nullptr, false) == Json::parse(text), row.name.constData());
            if (row.name.startsWith("n_"))
                QVERIFY2(isParserError(asResult), row.name.constData());

            const ReplyOutcome asReply = ReplyReader().interpret(text); // no text has "ok": each is an error
            QVERIFY2(isParserError(asReply), row.name.constData());
            const bool isDropped = asReply.helper == ReplyOutcome::Helper::Drop;
            QVERIFY2(!row.name.startsWith("n_") || isDropped == row.text.isValidUtf8(), row.name.constData());
            if (row.name.startsWith("y_object"))
                QCOMPARE(asReply.text, errorText("unknown"));
        }
    }

private:
    static bool isParserError(const ReplyOutcome& outcome) { return outcome.text.starts_with("ERROR: "); }
};

QTEST_GUILESS_MAIN(TestReplyReader)
#include "TestReplyReader.moc"
