#include "base/Json.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// Reading JSON and its members leniently.
class TestJson final : public TestCase
{
    Q_OBJECT

private slots:
    void describesValuesAsText()
    {
        const CaseTable<QByteArray, QString> cases{
            {"a string as is", R"("你 <b>")", u"你 <b>"_s},
            {"a byte-order mark at the beginning stays", "\"\ufeff\ufeffA\"", u"\ufeff\ufeffA"_s},
            {"true is 1", "true", u"1"_s},
            {"false is 0", "false", u"0"_s},
            {"an integer in decimal", "-42", u"-42"_s},
            {"the largest integer", "18446744073709551615", u"18446744073709551615"_s},
            {"a double in its shortest form", "0.1", u"0.1"_s},
            {"a whole double in its shortest form", "2.0", u"2"_s},
            {"null", "null", u"<null>"_s},
            {"a list as compact JSON", R"([1, "你"])", QStringLiteral(R"([1,"你"])")},
            {"an object as compact JSON", R"({"b": 1, "a": 2})", QStringLiteral(R"({"b":1,"a":2})")},
        };
        for (const auto& [json, text] : cases)
            QCOMPARE(textOf(Json::parse(json.toStdString())), text);
    }

    void aMissingMemberReadsAsTheDefault()
    {
        const Json object{{"name", "x"}, {"nothing", nullptr}};
        QCOMPARE(textOf(object, "name"), u"x"_s);
        QCOMPARE(textOf(object, "absent"), QString());
        QCOMPARE(textOf(object, "absent", u"(none)"_s), u"(none)"_s);
        QCOMPARE(textOf(object, "nothing", u"(none)"_s), u"<null>"_s);
    }

    void aMemberOfAnotherTypeReadsAsAbsent()
    {
        const Json object = Json::parse(R"({"texts":["b","","a"],"mixed":["a",1],"empty":[],"text":"true","number":1,)"
                                        R"("object":{"a":"b"},"null":null,"yes":true,"no":false})");
        for (const char* key : {"texts", "mixed", "empty", "text", "number", "object", "null", "yes", "no", "absent"}) {
            const std::string_view name(key);
            const QStringList texts = name == "texts" ? QStringList({u"b"_s, QString(), u"a"_s}) : QStringList();
            QVERIFY2(textsOf(object, key) == texts, key);
            QVERIFY2(objectOf(object, key) == (name == "object" ? Json({{"a", "b"}}) : Json::object()), key);
            QVERIFY2(isTrue(object, key) == (name == "yes"), key);
        }
    }

    void nestingIsReadUpToTheMaximumDepth()
    {
        const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
        QVERIFY(parseJson(nested(maxJsonDepth)).is_array());
        QVERIFY(parseJson(nested(maxJsonDepth + 1)).is_discarded());
        QVERIFY(parseJson(R"(["a\")" + nested(maxJsonDepth + 1) + "\"]").is_array()); // the brackets are in a string
        QVERIFY(parseJson(R"(["a\\",)" + nested(maxJsonDepth - 1) + "]").is_array());
        QVERIFY(
            parseJson(R"(["a\\",)" + nested(maxJsonDepth) + "]").is_discarded()); // the string ends before the brackets
        QVERIFY(parseJson(nested(1'000'000)).is_discarded());
        const Json sideBySide(std::size_t{2} * maxJsonDepth, Json{{"list", Json::array()}}); // these are not nested
        QVERIFY(parseJson(sideBySide.dump()) == sideBySide);
    }

    void invalidJsonIsDiscarded()
    {
        for (const char* text : {"", " ", "{", "{}{}", "nul", "[1,]", "1e999", "\xff"})
            QVERIFY2(parseJson(text).is_discarded(), text);
        QVERIFY(parseJson("null").is_null());
        QVERIFY(parseJson(" {\"a\":[1]}\n").is_object());
    }
};

QTEST_GUILESS_MAIN(TestJson)
#include "TestJson.moc"
