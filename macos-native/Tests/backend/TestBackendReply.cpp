#include "backend/BackendReply.h"

#include "support/Warnings.h"

#include <QTest>

/// How tabs read what the bridge returned.
class TestBackendReply final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void tellsErrorsByTheirPrefix_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isError");
        QTest::newRow("the bridge's failure") << QStringLiteral("ERROR: bad") << true;
        QTest::newRow("no blank is needed") << QStringLiteral("ERROR:bad") << true;
        QTest::newRow("other letters are a reply") << QStringLiteral("Error: bad") << false;
        QTest::newRow("the word inside is a reply") << QStringLiteral("\"ERROR: x\"") << false;
        QTest::newRow("an empty text is a reply") << QString() << false;
    }

    void tellsErrorsByTheirPrefix()
    {
        QFETCH(QString, text);
        QFETCH(bool, isError);
        const BackendReply reply(text.toStdString());
        QCOMPARE(reply.isError(), isError);
        QCOMPARE(reply.text(), text);
    }

    void readsObjectsLeniently_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("object");
        QTest::newRow("an object") << QByteArray(R"({"a":1})") << QByteArray(R"({"a":1})");
        QTest::newRow("a list counts as empty") << QByteArray("[1]") << QByteArray("{}");
        QTest::newRow("null counts as empty") << QByteArray("null") << QByteArray("{}");
        QTest::newRow("broken text counts as empty") << QByteArray(R"({"a":1)") << QByteArray("{}");
        QTest::newRow("no text counts as empty") << QByteArray() << QByteArray("{}");
        QTest::newRow("an error counts as empty") << QByteArray("ERROR: {}") << QByteArray("{}");
        QTest::newRow("bytes that are not UTF-8 count as empty") << QByteArray("{\"a\":\"\xff\"}") << QByteArray("{}");
    }

    void readsObjectsLeniently()
    {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, object);
        QCOMPARE(QByteArray::fromStdString(BackendReply(text.toStdString()).object().dump()), object);
    }

    void readsRowsLeniently_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("rows");
        QTest::newRow("a list of objects") << QByteArray(R"([{"b":1},{"a":2}])") << QByteArray(R"([{"b":1},{"a":2}])");
        QTest::newRow("an empty list") << QByteArray("[]") << QByteArray("[]");
        QTest::newRow("an object counts as empty") << QByteArray(R"({"a":1})") << QByteArray("[]");
        QTest::newRow("one number among objects empties the list") << QByteArray(R"([{"a":1},2])") << QByteArray("[]");
        QTest::newRow("broken text counts as empty") << QByteArray("[{]") << QByteArray("[]");
        QTest::newRow("an error counts as empty") << QByteArray("ERROR: x") << QByteArray("[]");
    }

    void readsRowsLeniently()
    {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, rows);
        QCOMPARE(QByteArray::fromStdString(Json(BackendReply(text.toStdString()).rows()).dump()), rows);
    }

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

    void keepsOrderAndNumbersOfAnObject()
    {
        const std::string text = R"({"z":1,"a":1.0,"m":9007199254740993,"u":18446744073709551615})";
        QCOMPARE(BackendReply(text).object().dump(), text);
    }

    void nestingIsReadUpToItsBound()
    {
        const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
        const auto inObject = [&nested](std::size_t depth) { return R"({"[[":)" + nested(depth - 1) + '}'; };
        QCOMPARE(BackendReply(inObject(BackendReply::maximumDepth)).object().size(), 1U);
        QCOMPARE(BackendReply(inObject(BackendReply::maximumDepth + 1)).object().size(), 0U);
        QCOMPARE(BackendReply(nested(1'000'000)).rows().size(), 0U);
        QVERIFY(parseJson(nested(BackendReply::maximumDepth)).is_array());
        QVERIFY(parseJson(nested(BackendReply::maximumDepth + 1)).is_discarded());
        const std::string bracketsInText = "{\"text\":\"\\\"" + std::string(1000, '[') + "\"}";
        QCOMPARE(BackendReply(bracketsInText).object().size(), 1U);
    }

    void valuesBesideEachOtherAreNotNested()
    {
        const Json rows(std::size_t{2} * BackendReply::maximumDepth, Json{{"list", Json::array()}});
        QCOMPARE(BackendReply(rows.dump()).rows().size(), rows.size());
    }

    void whatIsNoJsonIsDiscarded()
    {
        for (const char* text : {"", " ", "{", "{}{}", "nul", "[1,]", "1e999", "\xff"})
            QVERIFY2(parseJson(text).is_discarded(), text);
        QVERIFY(parseJson("null").is_null());
        QVERIFY(parseJson(" {\"a\":[1]}\n").is_object());
    }
};

QTEST_GUILESS_MAIN(TestBackendReply)
#include "TestBackendReply.moc"
