#include "base/Json.h"

#include "support/Warnings.h"

#include <QTest>

/// Reading JSON and its members leniently.
class TestJson final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void describesValuesAsText_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("text");
        QTest::newRow("a string as is") << QByteArray(R"("你 <b>")") << QStringLiteral("你 <b>");
        QTest::newRow("a byte-order mark at the beginning stays")
            << QByteArray("\"\ufeff\ufeffA\"") << QStringLiteral("\ufeff\ufeffA");
        QTest::newRow("true is 1") << QByteArray("true") << QStringLiteral("1");
        QTest::newRow("false is 0") << QByteArray("false") << QStringLiteral("0");
        QTest::newRow("an integer in decimal") << QByteArray("-42") << QStringLiteral("-42");
        QTest::newRow("the largest integer")
            << QByteArray("18446744073709551615") << QStringLiteral("18446744073709551615");
        QTest::newRow("a double in its shortest form") << QByteArray("0.1") << QStringLiteral("0.1");
        QTest::newRow("a whole double in its shortest form") << QByteArray("2.0") << QStringLiteral("2");
        QTest::newRow("null") << QByteArray("null") << QStringLiteral("<null>");
        QTest::newRow("a list as compact JSON") << QByteArray(R"([1, "你"])") << QStringLiteral(R"([1,"你"])");
        QTest::newRow("an object as compact JSON")
            << QByteArray(R"({"b": 1, "a": 2})") << QStringLiteral(R"({"b":1,"a":2})");
    }

    void describesValuesAsText()
    {
        QFETCH(QByteArray, json);
        QFETCH(QString, text);
        QCOMPARE(textOf(Json::parse(json.toStdString())), text);
    }

    void aMissingMemberReadsAsTheDefault()
    {
        const Json object{{"name", "x"}, {"nothing", nullptr}};
        QCOMPARE(textOf(object, "name"), QStringLiteral("x"));
        QCOMPARE(textOf(object, "absent"), QString());
        QCOMPARE(textOf(object, "absent", QStringLiteral("(none)")), QStringLiteral("(none)"));
        QCOMPARE(textOf(object, "nothing", QStringLiteral("(none)")), QStringLiteral("<null>"));
    }

    void onlyAListOfStringsHasTexts()
    {
        const Json object = Json::parse(R"({"texts":["b","","a"],"mixed":["a",1],"text":"a","none":[]})");
        QCOMPARE(textsOf(object, "texts"), QStringList({QStringLiteral("b"), QString(), QStringLiteral("a")}));
        for (const char* key : {"mixed", "text", "none", "absent"})
            QVERIFY2(textsOf(object, key).isEmpty(), key);
    }

    void onlyAnObjectHasMembersOfItsOwn()
    {
        const Json object = Json::parse(R"({"object":{"a":1},"list":[1],"null":null})");
        QVERIFY(objectOf(object, "object") == Json({{"a", 1}}));
        for (const char* key : {"list", "null", "absent"})
            QVERIFY2(objectOf(object, key) == Json::object(), key);
    }

    void onlyTheBooleanIsTrue()
    {
        const Json object = Json::parse(R"({"yes":true,"no":false,"text":"true","number":1,"null":null})");
        QVERIFY(isTrue(object, "yes"));
        for (const char* key : {"no", "text", "number", "null", "absent"})
            QVERIFY2(!isTrue(object, key), key);
    }

    void nestingIsReadUpToItsBound()
    {
        const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
        QVERIFY(parseJson(nested(maxJsonDepth)).is_array());
        QVERIFY(parseJson(nested(maxJsonDepth + 1)).is_discarded());
    }

    void whatIsNoJsonIsDiscarded()
    {
        for (const char* text : {"", " ", "{", "{}{}", "nul", "[1,]", "1e999", "\xff"})
            QVERIFY2(parseJson(text).is_discarded(), text);
        QVERIFY(parseJson("null").is_null());
        QVERIFY(parseJson(" {\"a\":[1]}\n").is_object());
    }
};

QTEST_GUILESS_MAIN(TestJson)
#include "TestJson.moc"
