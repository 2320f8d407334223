#include "backend/BackendReply.h"

#include "support/JsonToString.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// How tabs read what the bridge returned.
class TestBackendReply final : public TestCase
{
    Q_OBJECT

private slots:
    void tellsErrorsByTheirPrefix()
    {
        for (const char* error : {"ERROR: bad", "ERROR:bad"})
            QVERIFY2(BackendReply(error).isError(), error);
        for (const char* reply : {"Error: bad", "\"ERROR: x\"", ""})
            QVERIFY2(!BackendReply(reply).isError(), reply);
        QCOMPARE(BackendReply("ERROR: 坏").text(), u"ERROR: 坏"_s);
    }

    void readsObjectsLeniently()
    {
        QCOMPARE(BackendReply(R"({"a":1})").object(), Json({{"a", 1}}));
        for (const char* other : {"[1]", "null", R"({"a":1)", "", "ERROR: {}", "{\"a\":\"\xff\"}"})
            QCOMPARE(BackendReply(other).object(), Json::object());
    }

    void readsRowsLeniently()
    {
        QCOMPARE(Json(BackendReply(R"([{"b":1},{"a":2}])").rows()).dump(), std::string(R"([{"b":1},{"a":2}])"));
        for (const char* other : {"[]", R"({"a":1})", R"([{"a":1},2])", "[{]", "ERROR: x"})
            QVERIFY2(BackendReply(other).rows().empty(), other);
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
