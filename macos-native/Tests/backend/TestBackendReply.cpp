#include "backend/BackendReply.h"

#include "support/JsonToString.h"
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
        QCOMPARE(BackendReply(text.toStdString()).object(), Json::parse(object.toStdString()));
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
        QCOMPARE(Json(BackendReply(text.toStdString()).rows()), Json::parse(rows.toStdString()));
    }

    void keepsOrderAndNumbersOfAnObject()
    {
        const std::string text = R"({"z":1,"a":1.0,"m":9007199254740993,"u":18446744073709551615})";
        QCOMPARE(BackendReply(text).object().dump(), text);
    }

    void nestingIsReadUpToItsBound()
    {
        const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
        const auto inObject = [&nested](std::size_t depth) { return "{\"[[\":" + nested(depth - 1) + '}'; };
        QCOMPARE(BackendReply(inObject(maxJsonDepth)).object().size(), 1U);
        QCOMPARE(BackendReply(inObject(maxJsonDepth + 1)).object().size(), 0U);
        QCOMPARE(BackendReply(nested(1'000'000)).rows().size(), 0U);
        const std::string bracketsInText = "{\"text\":\"\\\"" + std::string(1000, '[') + "\"}";
        QCOMPARE(BackendReply(bracketsInText).object().size(), 1U);
    }

    void valuesBesideEachOtherAreNotNested()
    {
        const Json rows(std::size_t{2} * maxJsonDepth, Json{{"list", Json::array()}});
        QCOMPARE(BackendReply(rows.dump()).rows().size(), rows.size());
    }
};

QTEST_GUILESS_MAIN(TestBackendReply)
#include "TestBackendReply.moc"
