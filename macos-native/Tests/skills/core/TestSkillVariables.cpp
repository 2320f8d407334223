#include "skills/core/SkillVariables.h"

#include "skills/core/NewsSource.h"
#include "skills/core/SkillTexts.h"
#include "support/Cases.h"
#include "support/Warnings.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

Json row(const QByteArray& json)
{
    return Json::parse(json.toStdString());
}

} // namespace

/// What is read of a skill's row.
class TestSkillVariables final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void aTitleIsTheNameAfterTheSource_data()
    {
        const Cases<QByteArray, QString> add("skill", "title");
        add("a name", R"({"name":"weather"})", u"weather"_s);
        add("a source", R"({"name":"weather","source":"bundled"})", u"[bundled] weather"_s);
        add("an empty source", R"({"name":"weather","source":""})", u"weather"_s);
        add("no name", R"({"skillKey":"w"})", u"(unknown)"_s);
        add("a source and no name", R"({"source":"x"})", u"[x] (unknown)"_s);
        add("an empty name is one", R"({"name":""})", {});
        add("other types are described", R"({"name":["a"],"source":true})", QStringLiteral(R"([1] ["a"])"));
        add("null is described", R"({"name":null})", u"<null>"_s);
    }

    void aTitleIsTheNameAfterTheSource()
    {
        QFETCH(QByteArray, skill);
        QFETCH(QString, title);
        QCOMPARE(skillTitle(row(skill)), title);
    }

    void aSkillIsCalledByItsNameOrKey_data()
    {
        const Cases<QByteArray, QString> add("skill", "name");
        add("a name", R"({"name":"n","skillKey":"k"})", u"n"_s);
        add("no name", R"({"skillKey":"k"})", u"k"_s);
        add("neither", "{}", {});
        add("an empty name is one", R"({"name":"","skillKey":"k"})", {});
    }

    void aSkillIsCalledByItsNameOrKey()
    {
        QFETCH(QByteArray, skill);
        QFETCH(QString, name);
        QCOMPARE(skillName(row(skill)), name);
    }

    void aDescriptionIdentifiesTheSkill_data()
    {
        const Cases<QByteArray, QString> add("skill", "description");
        add("without variables", R"({"description":"d","skillKey":"k","path":"/p"})", u"d\nskillKey: k\npath: /p"_s);
        add("with variables",
            QByteArray(R"({"description":"d","skillKey":"k","path":"/p",)"
                       R"("requiredEnv":["A"," ","A"]})"),
            u"d\nskillKey: k\npath: /p\nrequires.env: A,  , A"_s);
        add("variables that are no list of texts", R"({"description":"d","requiredEnv":["A",1]})",
            u"d\nskillKey: \npath: "_s);
        add("nothing", "{}", u"\nskillKey: \npath: "_s);
        add("other types are described", R"({"description":1.5,"skillKey":false,"path":{"a":[]}})",
            u"1.5\nskillKey: 0\npath: {\"a\":[]}"_s);
    }

    void aDescriptionIdentifiesTheSkill()
    {
        QFETCH(QByteArray, skill);
        QFETCH(QString, description);
        QCOMPARE(skillDescription(row(skill)), description);
    }

    void oneSkillWatchesNewsSources_data()
    {
        const Cases<QByteArray, bool> add("name", "isTheOne");
        add("its name", R"("social-media-alert")", true);
        add("white space around it", "\" \\tsocial-media-alert\\n\"", true);
        add("other letter case", R"("Social-Media-Alert")", false);
        add("more than its name", R"("social-media-alerts")", false);
        add("a list with its name", R"(["social-media-alert"])", false);
        add("null", "null", false);
    }

    void oneSkillWatchesNewsSources()
    {
        QFETCH(QByteArray, name);
        QFETCH(bool, isTheOne);
        QCOMPARE(isSocialMediaAlert(row("{\"name\":" + name + "}")), isTheOne);
        QVERIFY(!isSocialMediaAlert(row("{\"skillKey\":" + name + "}")));
    }

    void theCredentialHasAVariableAndACaption_data()
    {
        const Cases<QByteArray, QString, QString> add("skill", "variable", "caption");

        const QString apiKey = u"API Key"_s;
        add("both", "{\"primaryEnv\":\" TOKEN\\n\",\"primaryEnvLabel\":\"\\tMy Token \"}", u"TOKEN"_s, u"My Token"_s);
        add("no label", R"({"primaryEnv":"TOKEN"})", u"TOKEN"_s, apiKey);
        add("a blank label", R"({"primaryEnv":"TOKEN","primaryEnvLabel":" "})", u"TOKEN"_s, apiKey);
        add("none", "{}", {}, apiKey);
        add("a blank variable is none", "{\"primaryEnv\":\" \\n\"}", {}, apiKey);
        add("a number is described", R"({"primaryEnv":7})", u"7"_s, apiKey);
        add("a label of another type is described", R"({"primaryEnv":"TOKEN","primaryEnvLabel":[1]})", u"TOKEN"_s,
            u"[1]"_s);
    }

    void theCredentialHasAVariableAndACaption()
    {
        QFETCH(QByteArray, skill);
        QFETCH(QString, variable);
        QFETCH(QString, caption);
        QCOMPARE(primaryVariable(row(skill)), variable);
        QCOMPARE(credentialCaption(row(skill)), caption);
    }

    void eachRequiredVariableHasAFieldOnce_data()
    {
        QTest::addColumn<QByteArray>("skill");
        QTest::addColumn<QStringList>("namesAndCaptions");
        const auto list = [](std::initializer_list<const char*> texts) {
            QStringList result;
            for (const char* text : texts)
                result.append(QString::fromUtf8(text));
            return result;
        };
        QTest::newRow("blanks and repetitions are dropped")
            << QByteArray(R"({"requiredEnv":["A"," ","B","A",""],"primaryEnv":"B"})")
            << list({"A", "A", "B", "API/Bearer Token (B)"});
        QTest::newRow("a primary variable that is not among them comes first")
            << QByteArray(R"({"requiredEnv":["A"],"primaryEnv":" B ","primaryEnvLabel":" My Token "})")
            << list({"B", "My Token (B)", "A", "A"});
        QTest::newRow("a primary variable alone")
            << QByteArray(R"({"primaryEnv":"B"})") << list({"B", "API/Bearer Token (B)"});
        QTest::newRow("names are not trimmed")
            << QByteArray(R"({"requiredEnv":[" A","A"]})") << list({" A", " A", "A", "A"});
        QTest::newRow("a name that is the primary one but for blanks is another")
            << QByteArray(R"({"requiredEnv":[" B"],"primaryEnv":"B"})")
            << list({"B", "API/Bearer Token (B)", " B", " B"});
        QTest::newRow("a label without a primary variable")
            << QByteArray(R"({"requiredEnv":["A"],"primaryEnvLabel":"L"})") << list({"A", "A"});
        QTest::newRow("a number among them") << QByteArray(R"({"requiredEnv":["A",1]})") << QStringList();
        QTest::newRow("a text in place of them") << QByteArray(R"({"requiredEnv":"A"})") << QStringList();
        QTest::newRow("nothing") << "{}"_ba << QStringList();
        QTest::newRow("names with markup, and Chinese ones") << QByteArray("{\"requiredEnv\":[\"<b>A</b>\",\"密钥\"]}")
                                                             << list({"<b>A</b>", "<b>A</b>", "密钥", "密钥"});
    }

    void eachRequiredVariableHasAFieldOnce()
    {
        QFETCH(QByteArray, skill);
        QFETCH(QStringList, namesAndCaptions);
        QStringList actual;
        for (const DynamicVariable& variable : dynamicVariables(row(skill)))
            actual << variable.name << variable.caption;
        QCOMPARE(actual, namesAndCaptions);
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
};

QTEST_GUILESS_MAIN(TestSkillVariables)
#include "TestSkillVariables.moc"
