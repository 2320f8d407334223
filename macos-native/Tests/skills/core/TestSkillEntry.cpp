#include "skills/core/SkillEntry.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// A skill's entry, as it is read, shown, edited and written.
class TestSkillEntry final : public TestCase
{
    Q_OBJECT

private slots:
    void onlyAnExplicitFalseDisables()
    {
        const CaseTable<QByteArray, bool> cases{
            {"false", R"({"enabled":false})", false},
            {"true", R"({"enabled":true})", true},
            {"nothing", "{}", true},
            {"0", R"({"enabled":0})", true},
            {"the text no", R"({"enabled":"no"})", true},
            {"the text false", R"({"enabled":"false"})", true},
            {"null", R"({"enabled":null})", true},
            {"a list", R"({"enabled":[]})", true},
            {"an object", R"({"enabled":{}})", true},
        };
        for (const auto& [entry, isEnabled] : cases)
            QCOMPARE(readSkillEntry(json(entry)).isEnabled, isEnabled);
    }

    void whatIsNoObjectCountsAsEmpty()
    {
        for (const char* value : {"[]", R"([{"A":"1"}])", R"("text")", "null", "true", "7"}) {
            const Json other = Json::parse(value);
            const SkillEntry entry = readSkillEntry({{"env", other}, {"config", other}});
            QVERIFY2(entry.env == Json::object() && entry.config == Json::object(), value);
        }
        const SkillEntry empty = readSkillEntry(Json::object());
        QVERIFY(empty.env == Json::object() && empty.config == Json::object());
    }

    void theCredentialIsATextOrDescribed()
    {
        const CaseTable<QByteArray, QString> cases{
            {"a text", "{\"apiKey\":\" k\\n\"}", u" k\n"_s},
            {"nothing", "{}", {}},
            {"a number", R"({"apiKey":12})", u"12"_s},
            {"null", R"({"apiKey":null})", u"<null>"_s},
        };
        for (const auto& [entry, apiKey] : cases)
            QCOMPARE(readSkillEntry(json(entry)).apiKey, apiKey);
    }

    void theConfigurationGoesBackAsItCame()
    {
        const CaseTable<QByteArray> cases{
            {"key order", R"({"z":1,"a":2,"m":{"y":1,"b":2}})"},
            {"whole numbers and fractions", R"({"a":1,"b":1.0,"c":0.1})"},
            {"numbers of 64 bits", R"({"a":9223372036854775807,"b":18446744073709551615})"},
            {"texts of any kind", "{\"a\":\"你好 \\\"q\\\" \\n\",\"\":null}"},
            {"depth", QByteArray(R"({"a":)" + QByteArray(500, '[') + QByteArray(500, ']') + "}")},
        };
        for (const auto& [config] : cases) {
            const SkillEntry entry = readSkillEntry(json(R"({"config":)" + config + "}"));
            QCOMPARE(QByteArray::fromStdString(toJson(entry)["config"].dump()), config);
        }
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

    void aFieldShowsItsVariableOrTheCredential()
    {
        const CaseTable<QByteArray, QByteArray, QString> cases{
            {"its value", R"({"env":{"A":"1"},"apiKey":"k"})", "A", u"1"_s},
            {"an empty value is one", R"({"env":{"A":""},"apiKey":"k"})", "A", {}},
            {"a value of another type is described", R"({"env":{"A":true}})", "A", u"1"_s},
            {"the credential of the primary variable", R"({"env":{},"apiKey":"k"})", "A", u"k"_s},
            {"no credential", "{}", "A", {}},
            {"another variable has no credential", R"({"apiKey":"k"})", "B", {}},
            {"the name is compared as the row has it", R"({"apiKey":"k"})", " A ", {}},
        };
        for (const auto& [entry, primaryEnv, text] : cases) {
            const Json skill{{"primaryEnv", primaryEnv.toStdString()}};
            QCOMPARE(variableText(readSkillEntry(json(entry)), skill, u"A"_s), text);
        }
    }

    void theCredentialToSaveIsThePrimaryVariables()
    {
        const QString typed = u" typed "_s;
        const CaseTable<QByteArray, QString, QString> cases{
            {"its value", R"({"A":"1"})", u"A"_s, u"1"_s},
            {"a value of another type is described", R"({"A":7})", u"A"_s, u"7"_s},
            {"no value: what was typed, as it is", R"({"B":"1"})", u"A"_s, typed},
            {"no primary variable, whatever an empty name holds", R"({"":"1"})", {}, typed},
        };
        for (const auto& [env, primary, credential] : cases)
            QCOMPARE(credentialToSave(json(env), primary, u" typed "_s), credential);
    }

    void theEnvironmentIsShownSorted()
    {
        const CaseTable<QByteArray, QString> cases{
            {"empty", "{}", u"{}"_s},
            {"sorted, also within", "{\"b\":\"2\",\"a\":{\"z\":1.0,\"y\":\"你好\"}}",
             u"{\n  \"a\": {\n    \"y\": \"你好\",\n    \"z\": 1.0\n  },\n  \"b\": \"2\"\n}"_s},
        };
        for (const auto& [env, text] : cases)
            QCOMPARE(prettyEnv(json(env)), text);
    }

    void onlyAnObjectIsAnEnvironment()
    {
        const CaseTable<QString, QByteArray> cases{
            {"nothing", {}, "{}"},
            {"white space", u" \n\t "_s, "{}"},
            {"an empty object", u" {} \n"_s, "{}"},
            {"an object in its order", u"{\"b\":\"1\", \"a\":\"2\"}"_s, R"({"b":"1","a":"2"})"},
            {"the last of two values of one name", u"{\"a\":\"1\",\"a\":\"2\"}"_s, R"({"a":"2"})"},
            {"names that are not ASCII", u"{\"密钥\":\"值\"}"_s, "{\"密钥\":\"值\"}"},
            {"nested", u"{\"a\":{\"b\":[1]}}"_s, R"({"a":{"b":[1]}})"},
            {"as deep as the bridge reads", u"{\"a\":"_s + QString(511, u'[') + QString(511, u']') + u'}',
             QByteArray(R"({"a":)" + QByteArray(511, '[') + QByteArray(511, ']') + "}")},
            {"deeper", u"{\"a\":"_s + QString(512, u'[') + QString(512, u']') + u'}', {}},
            {"a million brackets", QString(1'000'000, u'['), {}},
            {"a list", u"[1]"_s, {}},
            {"a text", u"\"a\""_s, {}},
            {"a number", u"1"_s, {}},
            {"true", u"true"_s, {}},
            {"null", u"null"_s, {}},
            {"a syntax error", u"{\"a\":}"_s, {}},
            {"an object and more", u"{} {}"_s, {}},
            {"a comment", u"{} // none"_s, {}},
            {"a number that no double holds", u"{\"a\":1e999}"_s, {}},
        };
        for (const auto& [text, env] : cases) {
            const std::optional<Json> parsed = parseObject(text);
            QCOMPARE(parsed ? QByteArray::fromStdString(parsed->dump()) : QByteArray(), env);
        }
    }

    void aMegabyteIsAnEnvironment()
    {
        const Json env{{"a", std::string(1'000'000, 'x')}};
        QVERIFY(parseObject(prettyEnv(env)) == env);
    }

private:
    static Json json(const QByteArray& text) { return Json::parse(text.toStdString()); }
};

QTEST_GUILESS_MAIN(TestSkillEntry)
#include "TestSkillEntry.moc"
