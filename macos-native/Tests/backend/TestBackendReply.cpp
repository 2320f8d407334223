#include "backend/BackendReply.h"

#include "support/JsonToString.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// Reading the replies of the bridge.
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

    void keepsOrderAndTypesOfAnObject()
    {
        const std::string text = R"({"z":1,"a":1.0,"m":-9007199254740993,"u":18446744073709551615,"t":true,"f":false,)"
                                 R"("n":null,"s":"助\u0000手","l":[{},[],[0.1,{"b":[]}]]})";
        QCOMPARE(BackendReply(text).object().dump(), text);
        QCOMPARE(BackendReply(R"({"b":1,"a":2,"b":3})").object().dump(), std::string(R"({"b":3,"a":2})"));
    }
};

QTEST_GUILESS_MAIN(TestBackendReply)
#include "TestBackendReply.moc"
