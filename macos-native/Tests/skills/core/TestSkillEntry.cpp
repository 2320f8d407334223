#include "skills/core/SkillEntry.h"

#include "support/Warnings.h"

#include <QTest>

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
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<bool>("isEnabled");
        QTest::newRow("false") << QByteArray(R"({"enabled":false})") << false;
        QTest::newRow("true") << QByteArray(R"({"enabled":true})") << true;
        QTest::newRow("nothing") << QByteArray("{}") << true;
        QTest::newRow("0") << QByteArray(R"({"enabled":0})") << true;
        QTest::newRow("the text no") << QByteArray(R"({"enabled":"no"})") << true;
        QTest::newRow("the text false") << QByteArray(R"({"enabled":"false"})") << true;
        QTest::newRow("null") << QByteArray(R"({"enabled":null})") << true;
        QTest::newRow("a list") << QByteArray(R"({"enabled":[]})") << true;
        QTest::newRow("an object") << QByteArray(R"({"enabled":{}})") << true;
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
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<QString>("apiKey");
        QTest::newRow("a text") << QByteArray(R"({"apiKey":" k\n"})") << QStringLiteral(" k\n");
        QTest::newRow("nothing") << QByteArray("{}") << QString();
        QTest::newRow("a number") << QByteArray(R"({"apiKey":12})") << QStringLiteral("12");
        QTest::newRow("null") << QByteArray(R"({"apiKey":null})") << QStringLiteral("<null>");
    }

    void theCredentialIsATextOrDescribed()
    {
        QFETCH(QByteArray, entry);
        QFETCH(QString, apiKey);
        QCOMPARE(readSkillEntry(json(entry)).apiKey, apiKey);
    }

    void theConfigurationGoesBackAsItCame_data()
    {
        QTest::addColumn<QByteArray>("config");
        QTest::newRow("key order") << QByteArray(R"({"z":1,"a":2,"m":{"y":1,"b":2}})");
        QTest::newRow("whole numbers and fractions") << QByteArray(R"({"a":1,"b":1.0,"c":0.1})");
        QTest::newRow("numbers of 64 bits") << QByteArray(R"({"a":9223372036854775807,"b":18446744073709551615})");
        QTest::newRow("texts of any kind") << QByteArray("{\"a\":\"你好 \\\"q\\\" \\n\",\"\":null}");
        QTest::newRow("depth") << QByteArray(R"({"a":)" + QByteArray(500, '[') + QByteArray(500, ']') + "}");
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
            .apiKey = QStringLiteral("k"),
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
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<QByteArray>("primaryEnv");
        QTest::addColumn<QString>("text");
        QTest::newRow("its value") << QByteArray(R"({"env":{"A":"1"},"apiKey":"k"})") << QByteArray("A")
                                   << QStringLiteral("1");
        QTest::newRow("an empty value is one")
            << QByteArray(R"({"env":{"A":""},"apiKey":"k"})") << QByteArray("A") << QString();
        QTest::newRow("a value of another type is described")
            << QByteArray(R"({"env":{"A":true}})") << QByteArray("A") << QStringLiteral("1");
        QTest::newRow("the credential of the primary variable")
            << QByteArray(R"({"env":{},"apiKey":"k"})") << QByteArray("A") << QStringLiteral("k");
        QTest::newRow("no credential") << QByteArray("{}") << QByteArray("A") << QString();
        QTest::newRow("another variable has no credential")
            << QByteArray(R"({"apiKey":"k"})") << QByteArray("B") << QString();
        QTest::newRow("the name is compared as the row has it")
            << QByteArray(R"({"apiKey":"k"})") << QByteArray(" A ") << QString();
    }

    void aFieldShowsItsVariableOrTheCredential()
    {
        QFETCH(QByteArray, entry);
        QFETCH(QByteArray, primaryEnv);
        QFETCH(QString, text);
        const Json skill{{"primaryEnv", primaryEnv.toStdString()}};
        QCOMPARE(variableText(readSkillEntry(json(entry)), skill, QStringLiteral("A")), text);
    }

    void theCredentialToSaveIsThePrimaryVariables_data()
    {
        QTest::addColumn<QByteArray>("env");
        QTest::addColumn<QString>("primary");
        QTest::addColumn<QString>("credential");
        const QString typed = QStringLiteral(" typed ");
        QTest::newRow("its value") << QByteArray(R"({"A":"1"})") << QStringLiteral("A") << QStringLiteral("1");
        QTest::newRow("a value of another type is described")
            << QByteArray(R"({"A":7})") << QStringLiteral("A") << QStringLiteral("7");
        QTest::newRow("no value: what was typed, as it is")
            << QByteArray(R"({"B":"1"})") << QStringLiteral("A") << typed;
        QTest::newRow("no primary variable, whatever an empty name holds")
            << QByteArray(R"({"":"1"})") << QString() << typed;
    }

    void theCredentialToSaveIsThePrimaryVariables()
    {
        QFETCH(QByteArray, env);
        QFETCH(QString, primary);
        QFETCH(QString, credential);
        QCOMPARE(credentialToSave(json(env), primary, QStringLiteral(" typed ")), credential);
    }

    void theEnvironmentIsShownSorted_data()
    {
        QTest::addColumn<QByteArray>("env");
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << QByteArray("{}") << QStringLiteral("{}");
        QTest::newRow("sorted, also within")
            << QByteArray(R"({"b":"2","a":{"z":1.0,"y":"你好"}})")
            << QStringLiteral("{\n  \"a\": {\n    \"y\": \"你好\",\n    \"z\": 1.0\n  },\n  \"b\": \"2\"\n}");
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
        QTest::newRow("nothing") << QString() << QByteArray("{}");
        QTest::newRow("white space") << QStringLiteral(" \n\t ") << QByteArray("{}");
        QTest::newRow("an empty object") << QStringLiteral(" {} \n") << QByteArray("{}");
        QTest::newRow("an object in its order")
            << QStringLiteral("{\"b\":\"1\", \"a\":\"2\"}") << QByteArray(R"({"b":"1","a":"2"})");
        QTest::newRow("the last of two values of one name")
            << QStringLiteral("{\"a\":\"1\",\"a\":\"2\"}") << QByteArray(R"({"a":"2"})");
        QTest::newRow("names that are not ASCII")
            << QStringLiteral("{\"密钥\":\"值\"}") << QByteArray(R"({"密钥":"值"})");
        QTest::newRow("nested") << QStringLiteral("{\"a\":{\"b\":[1]}}") << QByteArray(R"({"a":{"b":[1]}})");
        QTest::newRow("as deep as the bridge reads")
            << QStringLiteral("{\"a\":") + QString(511, u'[') + QString(511, u']') + u'}'
            << QByteArray(R"({"a":)" + QByteArray(511, '[') + QByteArray(511, ']') + "}");
        QTest::newRow("deeper") << QStringLiteral("{\"a\":") + QString(512, u'[') + QString(512, u']') + u'}'
                                << QByteArray();
        QTest::newRow("a million brackets") << QString(1'000'000, u'[') << QByteArray();
        QTest::newRow("a list") << QStringLiteral("[1]") << QByteArray();
        QTest::newRow("a text") << QStringLiteral("\"a\"") << QByteArray();
        QTest::newRow("a number") << QStringLiteral("1") << QByteArray();
        QTest::newRow("true") << QStringLiteral("true") << QByteArray();
        QTest::newRow("null") << QStringLiteral("null") << QByteArray();
        QTest::newRow("a syntax error") << QStringLiteral("{\"a\":}") << QByteArray();
        QTest::newRow("an object and more") << QStringLiteral("{} {}") << QByteArray();
        QTest::newRow("a comment") << QStringLiteral("{} // none") << QByteArray();
        QTest::newRow("a number that no double holds") << QStringLiteral("{\"a\":1e999}") << QByteArray();
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
