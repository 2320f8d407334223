#include "skills/core/SkillRow.h"

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
class TestSkillRow final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void onlyAListOfTextsIsOne_data()
    {
        QTest::addColumn<QByteArray>("member");
        QTest::addColumn<QStringList>("texts");
        const QStringList none;
        QTest::newRow("texts") << QByteArray("[\"a\",\"你好\",\"\"]") << QStringList{u"a"_s, u"你好"_s, QString()};
        QTest::newRow("an empty list") << "[]"_ba << none;
        QTest::newRow("a number among them") << QByteArray(R"(["a",1])") << none;
        QTest::newRow("null among them") << QByteArray(R"(["a",null])") << none;
        QTest::newRow("a list among them") << QByteArray(R"([["a"]])") << none;
        QTest::newRow("a text") << QByteArray(R"("a")") << none;
        QTest::newRow("an object") << QByteArray(R"({"a":"b"})") << none;
        QTest::newRow("null") << "null"_ba << none;
        QTest::newRow("true") << "true"_ba << none;
        QTest::newRow("a number") << "1"_ba << none;
    }

    void onlyAListOfTextsIsOne()
    {
        QFETCH(QByteArray, member);
        QFETCH(QStringList, texts);
        QCOMPARE(textsOf(row("{\"dirs\":" + member + "}"), "dirs"), texts);
        QCOMPARE(textsOf(row("{\"other\":" + member + "}"), "dirs"), QStringList());
    }

    void aTitleIsTheNameAfterTheSource_data()
    {
        QTest::addColumn<QByteArray>("skill");
        QTest::addColumn<QString>("title");
        QTest::newRow("a name") << QByteArray(R"({"name":"weather"})") << u"weather"_s;
        QTest::newRow("a source") << QByteArray(R"({"name":"weather","source":"bundled"})") << u"[bundled] weather"_s;
        QTest::newRow("an empty source") << QByteArray(R"({"name":"weather","source":""})") << u"weather"_s;
        QTest::newRow("no name") << QByteArray(R"({"skillKey":"w"})") << u"(unknown)"_s;
        QTest::newRow("a source and no name") << QByteArray(R"({"source":"x"})") << u"[x] (unknown)"_s;
        QTest::newRow("an empty name is one") << QByteArray(R"({"name":""})") << QString();
        QTest::newRow("other types are described")
            << QByteArray(R"({"name":["a"],"source":true})") << QStringLiteral(R"([1] ["a"])");
        QTest::newRow("null is described") << QByteArray(R"({"name":null})") << u"<null>"_s;
    }

    void aTitleIsTheNameAfterTheSource()
    {
        QFETCH(QByteArray, skill);
        QFETCH(QString, title);
        QCOMPARE(skillTitle(row(skill)), title);
    }

    void aSkillIsCalledByItsNameOrKey_data()
    {
        QTest::addColumn<QByteArray>("skill");
        QTest::addColumn<QString>("name");
        QTest::newRow("a name") << QByteArray(R"({"name":"n","skillKey":"k"})") << u"n"_s;
        QTest::newRow("no name") << QByteArray(R"({"skillKey":"k"})") << u"k"_s;
        QTest::newRow("neither") << "{}"_ba << QString();
        QTest::newRow("an empty name is one") << QByteArray(R"({"name":"","skillKey":"k"})") << QString();
    }

    void aSkillIsCalledByItsNameOrKey()
    {
        QFETCH(QByteArray, skill);
        QFETCH(QString, name);
        QCOMPARE(skillName(row(skill)), name);
    }

    void aDescriptionIdentifiesTheSkill_data()
    {
        QTest::addColumn<QByteArray>("skill");
        QTest::addColumn<QString>("description");
        QTest::newRow("without variables")
            << QByteArray(R"({"description":"d","skillKey":"k","path":"/p"})") << u"d\nskillKey: k\npath: /p"_s;
        QTest::newRow("with variables") << QByteArray(R"({"description":"d","skillKey":"k","path":"/p",)"
                                                      R"("requiredEnv":["A"," ","A"]})")
                                        << u"d\nskillKey: k\npath: /p\nrequires.env: A,  , A"_s;
        QTest::newRow("variables that are no list of texts")
            << QByteArray(R"({"description":"d","requiredEnv":["A",1]})") << u"d\nskillKey: \npath: "_s;
        QTest::newRow("nothing") << "{}"_ba << u"\nskillKey: \npath: "_s;
        QTest::newRow("other types are described")
            << QByteArray(R"({"description":1.5,"skillKey":false,"path":{"a":[]}})")
            << u"1.5\nskillKey: 0\npath: {\"a\":[]}"_s;
    }

    void aDescriptionIdentifiesTheSkill()
    {
        QFETCH(QByteArray, skill);
        QFETCH(QString, description);
        QCOMPARE(skillDescription(row(skill)), description);
    }

    void oneSkillWatchesNewsSources_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<bool>("isTheOne");
        QTest::newRow("its name") << QByteArray(R"("social-media-alert")") << true;
        QTest::newRow("white space around it") << QByteArray("\" \\tsocial-media-alert\\n\"") << true;
        QTest::newRow("other letter case") << QByteArray(R"("Social-Media-Alert")") << false;
        QTest::newRow("more than its name") << QByteArray(R"("social-media-alerts")") << false;
        QTest::newRow("a list with its name") << QByteArray(R"(["social-media-alert"])") << false;
        QTest::newRow("null") << "null"_ba << false;
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
        QTest::addColumn<QByteArray>("skill");
        QTest::addColumn<QString>("variable");
        QTest::addColumn<QString>("caption");
        const QString apiKey = u"API Key"_s;
        QTest::newRow("both") << QByteArray("{\"primaryEnv\":\" TOKEN\\n\",\"primaryEnvLabel\":\"\\tMy Token \"}")
                              << u"TOKEN"_s << u"My Token"_s;
        QTest::newRow("no label") << QByteArray(R"({"primaryEnv":"TOKEN"})") << u"TOKEN"_s << apiKey;
        QTest::newRow("a blank label") << QByteArray(R"({"primaryEnv":"TOKEN","primaryEnvLabel":" "})") << u"TOKEN"_s
                                       << apiKey;
        QTest::newRow("none") << "{}"_ba << QString() << apiKey;
        QTest::newRow("a blank variable is none") << QByteArray("{\"primaryEnv\":\" \\n\"}") << QString() << apiKey;
        QTest::newRow("a number is described") << QByteArray(R"({"primaryEnv":7})") << u"7"_s << apiKey;
        QTest::newRow("a label of another type is described")
            << QByteArray(R"({"primaryEnv":"TOKEN","primaryEnvLabel":[1]})") << u"TOKEN"_s << u"[1]"_s;
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

QTEST_GUILESS_MAIN(TestSkillRow)
#include "TestSkillRow.moc"
