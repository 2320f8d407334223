#include "skills/core/SkillVariables.h"

#include "skills/core/NewsSource.h"
#include "skills/core/SkillTexts.h"
#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// What is read of a skill's row.
class TestSkillVariables final : public TestCase
{
    Q_OBJECT

private slots:
    void aTitleIsTheNameAfterTheSource()
    {
        const CaseTable<QByteArray, QString> cases{
            {"a name", R"({"name":"weather"})", u"weather"_s},
            {"a source", R"({"name":"weather","source":"bundled"})", u"[bundled] weather"_s},
            {"an empty source", R"({"name":"weather","source":""})", u"weather"_s},
            {"no name", R"({"skillKey":"w"})", u"(unknown)"_s},
            {"a source and no name", R"({"source":"x"})", u"[x] (unknown)"_s},
            {"an empty name is one", R"({"name":""})", {}},
            {"other types are described", R"({"name":["a"],"source":true})", QStringLiteral(R"([1] ["a"])")},
            {"null is described", R"({"name":null})", u"<null>"_s},
        };
        for (const auto& [skill, title] : cases)
            QCOMPARE(skillTitle(row(skill)), title);
    }

    void aSkillIsCalledByItsNameOrKey()
    {
        const CaseTable<QByteArray, QString> cases{
            {"a name", R"({"name":"n","skillKey":"k"})", u"n"_s},
            {"no name", R"({"skillKey":"k"})", u"k"_s},
            {"neither", "{}", {}},
            {"an empty name is one", R"({"name":"","skillKey":"k"})", {}},
        };
        for (const auto& [skill, name] : cases)
            QCOMPARE(skillName(row(skill)), name);
    }

    void aDescriptionIdentifiesTheSkill()
    {
        const CaseTable<QByteArray, QString> cases{
            {"without variables", R"({"description":"d","skillKey":"k","path":"/p"})", u"d\nskillKey: k\npath: /p"_s},
            {"with variables",
             R"({"description":"d","skillKey":"k","path":"/p",)"
             R"("requiredEnv":["A"," ","A"]})",
             u"d\nskillKey: k\npath: /p\nrequires.env: A,  , A"_s},
            {"variables that are no list of texts", R"({"description":"d","requiredEnv":["A",1]})",
             u"d\nskillKey: \npath: "_s},
            {"nothing", "{}", u"\nskillKey: \npath: "_s},
            {"other types are described", R"({"description":1.5,"skillKey":false,"path":{"a":[]}})",
             u"1.5\nskillKey: 0\npath: {\"a\":[]}"_s},
        };
        for (const auto& [skill, description] : cases)
            QCOMPARE(skillDescription(row(skill)), description);
    }

    void oneSkillWatchesNewsSources()
    {
        const CaseTable<QByteArray, bool> cases{
            {"its name", R"("social-media-alert")", true},
            {"white space around it", "\" \\tsocial-media-alert\\n\"", true},
            {"other letter case", R"("Social-Media-Alert")", false},
            {"more than its name", R"("social-media-alerts")", false},
            {"a list with its name", R"(["social-media-alert"])", false},
            {"null", "null", false},
        };
        for (const auto& [name, isTheOne] : cases) {
            QCOMPARE(isSocialMediaAlert(row("{\"name\":" + name + "}")), isTheOne);
            QVERIFY(!isSocialMediaAlert(row("{\"skillKey\":" + name + "}")));
        }
    }

    void theCredentialHasAVariableAndACaption()
    {
        const QString apiKey = u"API Key"_s;
        const CaseTable<QByteArray, QString, QString> cases{
            {"both", "{\"primaryEnv\":\" TOKEN\\n\",\"primaryEnvLabel\":\"\\tMy Token \"}", u"TOKEN"_s, u"My Token"_s},
            {"no label", R"({"primaryEnv":"TOKEN"})", u"TOKEN"_s, apiKey},
            {"a blank label", R"({"primaryEnv":"TOKEN","primaryEnvLabel":" "})", u"TOKEN"_s, apiKey},
            {"none", "{}", {}, apiKey},
            {"a blank variable is none", "{\"primaryEnv\":\" \\n\"}", {}, apiKey},
            {"a number is described", R"({"primaryEnv":7})", u"7"_s, apiKey},
            {"a label of another type is described", R"({"primaryEnv":"TOKEN","primaryEnvLabel":[1]})", u"TOKEN"_s,
             u"[1]"_s},
        };
        for (const auto& [skill, variable, caption] : cases) {
            QCOMPARE(primaryVariable(row(skill)), variable);
            QCOMPARE(credentialCaption(row(skill)), caption);
        }
    }

    void eachRequiredVariableHasAFieldOnce()
    {
        const CaseTable<QByteArray, QByteArrayList> cases{
            {"blanks and repetitions are dropped",
             R"({"requiredEnv":["A"," ","B","A",""],"primaryEnv":"B"})",
             {"A", "A", "B", "API/Bearer Token (B)"}},
            {"a primary variable that is not among them comes first",
             R"({"requiredEnv":["A"],"primaryEnv":" B ","primaryEnvLabel":" My Token "})",
             {"B", "My Token (B)", "A", "A"}},
            {"a primary variable alone", R"({"primaryEnv":"B"})", {"B", "API/Bearer Token (B)"}},
            {"names are not trimmed", R"({"requiredEnv":[" A","A"]})", {" A", " A", "A", "A"}},
            {"a name that is the primary one but for blanks is another",
             R"({"requiredEnv":[" B"],"primaryEnv":"B"})",
             {"B", "API/Bearer Token (B)", " B", " B"}},
            {"a label without a primary variable", R"({"requiredEnv":["A"],"primaryEnvLabel":"L"})", {"A", "A"}},
            {"a number among them", R"({"requiredEnv":["A",1]})", {}},
            {"a text in place of them", R"({"requiredEnv":"A"})", {}},
            {"nothing", "{}", {}},
            {"names with markup, and Chinese ones",
             "{\"requiredEnv\":[\"<b>A</b>\",\"密钥\"]}",
             {"<b>A</b>", "<b>A</b>", "密钥", "密钥"}},
        };
        for (const auto& [skill, namesAndCaptions] : cases) {
            QByteArrayList actual;
            for (const DynamicVariable& variable : dynamicVariables(row(skill)))
                actual << variable.name.toUtf8() << variable.caption.toUtf8();
            QCOMPARE(actual, namesAndCaptions);
        }
    }

    void twoHundredVariablesKeepTheirOrder()
    {
        Json names = Json::array();
        for (int i = 0; i < 200; ++i)
            names.push_back("VARIABLE_" + std::to_string(i));
        const std::vector<DynamicVariable> variables = dynamicVariables({{"requiredEnv", names}});
        QCOMPARE(variables.size(), std::size_t(200));
        QCOMPARE(variables.front().name, u"VARIABLE_0"_s);
        QCOMPARE(variables.back().name, u"VARIABLE_199"_s);
    }

private:
    static Json row(const QByteArray& json) { return Json::parse(json.toStdString()); }
};

QTEST_GUILESS_MAIN(TestSkillVariables)
#include "TestSkillVariables.moc"
