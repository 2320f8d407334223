#include "skills/core/SkillEntry.h"

#include "support/Cases.h"
#include "support/Warnings.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

Json json(const QByteArray& text)
{
    return Json::parse(text.toStdString());
}

} // namespace

/// A skill's entry, as it is read, shown, edited and written.
class TestSkillEntry final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void onlyAnExplicitFalseDisables_data()
    {
        const Cases<QByteArray, bool> add("entry", "isEnabled");
        add("false", R"({"enabled":false})", false);
        add("true", R"({"enabled":true})", true);
        add("nothing", "{}", true);
        add("0", R"({"enabled":0})", true);
        add("the text no", R"({"enabled":"no"})", true);
        add("the text false", R"({"enabled":"false"})", true);
        add("null", R"({"enabled":null})", true);
        add("a list", R"({"enabled":[]})", true);
        add("an object", R"({"enabled":{}})", true);
    }

    void onlyAnExplicitFalseDisables()
    {
        QFETCH(QByteArray, entry);
        QFETCH(bool, isEnabled);
        QCOMPARE(readSkillEntry(json(entry)).isEnabled, isEnabled);
    }

    void whatIsNoObjectCountsAsEmpty_data()
    {
        QTest::addColumn<QByteArray>("value");
        for (const char* value : {"[]", R"([{"A":"1"}])", R"("text")", "null", "true", "7"})
            QTest::newRow(value) << QByteArray(value);
    }

    void whatIsNoObjectCountsAsEmpty()
    {
        QFETCH(QByteArray, value);
        const SkillEntry entry = readSkillEntry(json(R"({"env":)" + value + R"(,"config":)" + value + "}"));
        QVERIFY(entry.env == Json::object());
        QVERIFY(entry.config == Json::object());
        QVERIFY(readSkillEntry(Json::object()).env == Json::object());
        QVERIFY(readSkillEntry(Json::object()).config == Json::object());
    }

    void theCredentialIsATextOrDescribed_data()
    {
        const Cases<QByteArray, QString> add("entry", "apiKey");
        add("a text", "{\"apiKey\":\" k\\n\"}", u" k\n"_s);
        add("nothing", "{}", {});
        add("a number", R"({"apiKey":12})", u"12"_s);
        add("null", R"({"apiKey":null})", u"<null>"_s);
    }

    void theCredentialIsATextOrDescribed()
    {
        QFETCH(QByteArray, entry);
        QFETCH(QString, apiKey);
        QCOMPARE(readSkillEntry(json(entry)).apiKey, apiKey);
    }

    void theConfigurationGoesBackAsItCame_data()
    {
        const Cases<QByteArray> add("config");
        add("key order", R"({"z":1,"a":2,"m":{"y":1,"b":2}})");
        add("whole numbers and fractions", R"({"a":1,"b":1.0,"c":0.1})");
        add("numbers of 64 bits", R"({"a":9223372036854775807,"b":18446744073709551615})");
        add("texts of any kind", "{\"a\":\"你好 \\\"q\\\" \\n\",\"\":null}");
        add("depth", QByteArray(R"({"a":)" + QByteArray(500, '[') + QByteArray(500, ']') + "}"));
    }

    void theConfigurationGoesBackAsItCame()
    {
        QFETCH(QByteArray, config);
        const SkillEntry entry = readSkillEntry(json(R"({"config":)" + config + "}"));
        QCOMPARE(QByteArray::fromStdString(toJson(entry)["config"].dump()), config);
    }

    void exactlyFourMembersAreWritten()
    {
        const SkillEntry entry{
            .isEnabled = false,
            .apiKey = u"k"_s,
            .env = {{"A", "1"}},
            .config = {{"c", 2}},
        };
        const char* const written = R"({"enabled":false,"apiKey":"k","env":{"A":"1"},"config":{"c":2}})";
        QCOMPARE(toJson(entry).dump(), std::string(written));
        const char* const plain = R"({"enabled":true,"apiKey":"","env":{},"config":{}})";
        QCOMPARE(toJson(SkillEntry()).dump(), std::string(plain));
    }

    void aFieldShowsItsVariableOrTheCredential_data()
    {
        const Cases<QByteArray, QByteArray, QString> add("entry", "primaryEnv", "text");
        add("its value", R"({"env":{"A":"1"},"apiKey":"k"})", "A", u"1"_s);
        add("an empty value is one", R"({"env":{"A":""},"apiKey":"k"})", "A", {});
        add("a value of another type is described", R"({"env":{"A":true}})", "A", u"1"_s);
        add("the credential of the primary variable", R"({"env":{},"apiKey":"k"})", "A", u"k"_s);
        add("no credential", "{}", "A", {});
        add("another variable has no credential", R"({"apiKey":"k"})", "B", {});
        add("the name is compared as the row has it", R"({"apiKey":"k"})", " A ", {});
    }

    void aFieldShowsItsVariableOrTheCredential()
    {
        QFETCH(QByteArray, entry);
        QFETCH(QByteArray, primaryEnv);
        QFETCH(QString, text);
        const Json skill{{"primaryEnv", primaryEnv.toStdString()}};
        QCOMPARE(variableText(readSkillEntry(json(entry)), skill, u"A"_s), text);
    }

    void theCredentialToSaveIsThePrimaryVariables_data()
    {
        const Cases<QByteArray, QString, QString> add("env", "primary", "credential");

        const QString typed = u" typed "_s;
        add("its value", R"({"A":"1"})", u"A"_s, u"1"_s);
        add("a value of another type is described", R"({"A":7})", u"A"_s, u"7"_s);
        add("no value: what was typed, as it is", R"({"B":"1"})", u"A"_s, typed);
        add("no primary variable, whatever an empty name holds", R"({"":"1"})", {}, typed);
    }

    void theCredentialToSaveIsThePrimaryVariables()
    {
        QFETCH(QByteArray, env);
        QFETCH(QString, primary);
        QFETCH(QString, credential);
        QCOMPARE(credentialToSave(json(env), primary, u" typed "_s), credential);
    }

    void theEnvironmentIsShownSorted_data()
    {
        const Cases<QByteArray, QString> add("env", "text");
        add("empty", "{}", u"{}"_s);
        add("sorted, also within", "{\"b\":\"2\",\"a\":{\"z\":1.0,\"y\":\"你好\"}}",
            u"{\n  \"a\": {\n    \"y\": \"你好\",\n    \"z\": 1.0\n  },\n  \"b\": \"2\"\n}"_s);
    }

    void theEnvironmentIsShownSorted()
    {
        QFETCH(QByteArray, env);
        QFETCH(QString, text);
        QCOMPARE(prettyEnv(json(env)), text);
    }

    void onlyAnObjectIsAnEnvironment_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("env"); // empty for none
        QTest::newRow("nothing") << QString() << "{}"_ba;
        QTest::newRow("white space") << u" \n\t "_s << "{}"_ba;
        QTest::newRow("an empty object") << u" {} \n"_s << "{}"_ba;
        QTest::newRow("an object in its order")
            << u"{\"b\":\"1\", \"a\":\"2\"}"_s << QByteArray(R"({"b":"1","a":"2"})");
        QTest::newRow("the last of two values of one name")
            << u"{\"a\":\"1\",\"a\":\"2\"}"_s << QByteArray(R"({"a":"2"})");
        QTest::newRow("names that are not ASCII") << u"{\"密钥\":\"值\"}"_s << QByteArray("{\"密钥\":\"值\"}");
        QTest::newRow("nested") << u"{\"a\":{\"b\":[1]}}"_s << QByteArray(R"({"a":{"b":[1]}})");
        QTest::newRow("as deep as the bridge reads")
            << u"{\"a\":"_s + QString(511, u'[') + QString(511, u']') + u'}'
            << QByteArray(R"({"a":)" + QByteArray(511, '[') + QByteArray(511, ']') + "}");
        QTest::newRow("deeper") << u"{\"a\":"_s + QString(512, u'[') + QString(512, u']') + u'}' << QByteArray();
        QTest::newRow("a million brackets") << QString(1'000'000, u'[') << QByteArray();
        QTest::newRow("a list") << u"[1]"_s << QByteArray();
        QTest::newRow("a text") << u"\"a\""_s << QByteArray();
        QTest::newRow("a number") << u"1"_s << QByteArray();
        QTest::newRow("true") << u"true"_s << QByteArray();
        QTest::newRow("null") << u"null"_s << QByteArray();
        QTest::newRow("a syntax error") << u"{\"a\":}"_s << QByteArray();
        QTest::newRow("an object and more") << u"{} {}"_s << QByteArray();
        QTest::newRow("a comment") << u"{} // none"_s << QByteArray();
        QTest::newRow("a number that no double holds") << u"{\"a\":1e999}"_s << QByteArray();
    }

    void onlyAnObjectIsAnEnvironment()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, env);
        const std::optional<Json> parsed = parseObject(text);
        QCOMPARE(parsed ? QByteArray::fromStdString(parsed->dump()) : QByteArray(), env);
    }

    void aMegabyteIsAnEnvironment()
    {
        const Json env{{"a", std::string(1'000'000, 'x')}};
        QVERIFY(parseObject(prettyEnv(env)) == env);
    }
};

QTEST_GUILESS_MAIN(TestSkillEntry)
#include "TestSkillEntry.moc"
