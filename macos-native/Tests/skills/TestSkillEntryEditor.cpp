#include "skills/SkillsTab.h"
#include "support/CaseTable.h"
#include "support/TestCase.h"
#include "ui/Colors.h"

#include <QFontDatabase>
#include <QFontInfo>

using namespace Qt::StringLiterals;

/// The editor of a skill's entry, in the Skills tab.
class TestSkillEntryEditor final : public TestCase
{
    Q_OBJECT

private slots:
    void withoutASkillThereIsNothingToLoadOrSave()
    {
        QCOMPARE(m_tab->alertAfter("Load Config"), u"No Selection: Select a skill first."_s);
        QCOMPARE(m_tab->alertAfter("Save Config"), u"No Selection: Select a skill first."_s);
        QCOMPARE(m_tab->backend.count("get_skill_entry"), 0);
        QCOMPARE(m_tab->backend.count("save_skill_entry"), 0);
    }

    void theEntryFillsTheEditor()
    {
        m_tab->entered({{"enabled", false}, {"apiKey", "k"}, {"env", {{"TOKEN", "t"}, {"REGION", "欧洲"}}}});
        m_tab->select(0);
        QCOMPARE(m_tab->title("enabledPopup"), u"false"_s);
        QCOMPARE(m_tab->apiKey()->text(), u"k"_s);
        QCOMPARE(m_tab->apiKey()->echoMode(), QLineEdit::Password);
        QCOMPARE(m_tab->field("TOKEN")->text(), u"t"_s);
        QCOMPARE(m_tab->field("REGION")->text(), u"欧洲"_s);
        QCOMPARE(m_tab->env()->toPlainText(), u"{\n  \"REGION\": \"欧洲\",\n  \"TOKEN\": \"t\"\n}"_s);
        QCOMPARE(m_tab->titles("enabledPopup"), (QStringList{u"true"_s, u"false"_s}));
    }

    void theCredentialHasTheCaptionOfItsSkillOrNoField()
    {
        Json skill = SkillsTab::weather();
        skill["primaryEnvLabel"] = " Weather Token ";
        m_tab->listed({skill, {{"name", "plain"}, {"skillKey", "plain"}}});
        m_tab->select(0);
        QCOMPARE(m_tab->credential(), u"apiKeyLabel=Weather Token shown|apiKeyField=k shown"_s);
        QCOMPARE(m_tab->apiKey()->placeholderText(), u"Weather Token"_s);
        m_tab->select(1);
        QCOMPARE(m_tab->credential(), u"apiKeyLabel=API Key hidden|apiKeyField= hidden"_s);
        QCOMPARE(m_tab->apiKey()->placeholderText(), u"Not required"_s);
    }

    void aSkillWithoutVariablesSaysSo()
    {
        m_tab->select(2);
        QVERIFY(m_tab->fields().isEmpty());
        const auto* stack = m_tab->find<QWidget>("dynamicFieldsStack");
        const auto* note = Controls::named<QLabel>(*stack, u"This skill does not require dynamic env fields."_s);
        QVERIFY(note->wordWrap());
        QCOMPARE(note->palette().color(QPalette::WindowText), Colors::secondaryText(m_tab->view().palette()));
        m_tab->show();
        QTRY_COMPARE(note->width(), stack->width()); // other skills have fields there
        QVERIFY(note->isVisible());
    }

    void fieldsStandInRowsUnderTheirHeading()
    {
        m_tab->show();
        m_tab->select(0);
        const auto* stack = m_tab->find<QWidget>("dynamicFieldsStack");
        const auto* heading = Controls::named<QLabel>(*stack, u"Dynamic ENV Fields"_s);
        const auto* token = Controls::named<QLineEdit>(*stack, u"API/Bearer Token (TOKEN)"_s);
        const auto* region = Controls::named<QLineEdit>(*stack, u"REGION"_s);
        QTRY_VERIFY(region->width() > 220);
        QCOMPARE(QFontInfo(heading->font()).pixelSize(), 12);
        QCOMPARE(heading->font().weight(), QFont::DemiBold);
        QCOMPARE(m_tab->frame(heading).topLeft(), m_tab->frame(stack).topLeft());
        QCOMPARE(token->y(), heading->geometry().bottom() + 1 + 8);
        QCOMPARE(region->geometry().topLeft(), QPoint(160 + 8, token->geometry().bottom() + 1 + 8));
    }

    void anEntryThatSaysNothingShowsDefaults()
    {
        const CaseTable<QByteArray> cases{
            {"an empty object", "{}"},
            {"null", "null"},
            {"a list", R"([{"enabled":false}])"},
            {"members of other types", R"({"enabled":"no","env":["A"],"config":[1],"apiKey":""})"},
        };
        for (const auto& [entry] : cases) {
            restart();
            m_tab->entered(Json::parse(entry.toStdString()));
            m_tab->select(0);
            QCOMPARE(m_tab->title("enabledPopup"), u"true"_s);
            QCOMPARE(m_tab->apiKey()->text(), QString());
            QCOMPARE(m_tab->field("TOKEN")->text(), QString());
            QCOMPARE(m_tab->env()->toPlainText(), u"{}"_s);
            QCOMPARE(m_tab->status(), u"Loaded config for weather."_s);
        }
    }

    void theModeDecidesWhatIsEdited()
    {
        m_tab->show();
        m_tab->select(0);
        QVERIFY(m_tab->find<QWidget>("dynamicFieldsStack")->isVisible());
        QVERIFY(m_tab->env()->isReadOnly());
        QVERIFY(m_tab->env()->textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
        QVERIFY(m_tab->env()->textInteractionFlags().testFlag(Qt::TextSelectableByKeyboard));
        QCOMPARE(m_tab->label("envLabel"), u"ENV (JSON snapshot)"_s);
        QCOMPARE(QFontInfo(m_tab->env()->font()).pixelSize(), 12);
        QCOMPARE(m_tab->env()->font().family(), QFontDatabase::systemFont(QFontDatabase::FixedFont).family());
        QCOMPARE(m_tab->env()->lineWrapMode(), QPlainTextEdit::NoWrap);
        m_tab->choose("configModePopup", "json");
        QVERIFY(!m_tab->find<QWidget>("dynamicFieldsStack")->isVisible());
        QVERIFY(!m_tab->env()->isReadOnly());
        QCOMPARE(m_tab->label("envLabel"), u"ENV (JSON object)"_s);
        m_tab->env()->selectAll();
        QTest::keyClicks(m_tab->env(), u"{}"_s);
        QCOMPARE(m_tab->env()->toPlainText(), u"{}"_s);

        m_tab->choose("configModePopup", "dynamic");
        QVERIFY(m_tab->find<QWidget>("dynamicFieldsStack")->isVisible());
        QVERIFY(m_tab->env()->isReadOnly());
    }

    void tabLeavesTheTextThatIsEdited()
    {
        m_tab->show();
        m_tab->select(0);
        m_tab->choose("configModePopup", "json");
        const QString text = m_tab->env()->toPlainText();
        for (const Qt::Key key : {Qt::Key_Tab, Qt::Key_Backtab}) {
            m_tab->env()->setFocus();
            QVERIFY(m_tab->env()->hasFocus());
            QTest::keyClick(m_tab->env(), key);
            QVERIFY(!m_tab->env()->hasFocus());
            QCOMPARE(m_tab->env()->toPlainText(), text);
        }
    }

    void theSnapshotFollowsThePalette()
    {
        m_tab->show();
        QPalette dark = m_tab->view().palette();
        dark.setColor(QPalette::Window, Qt::black);
        dark.setColor(QPalette::WindowText, Qt::white);
        dark.setColor(QPalette::Text, Qt::yellow);
        m_tab->view().setPalette(dark);
        QCOMPARE(m_tab->env()->palette().color(QPalette::Text), Colors::secondaryText(dark));
        m_tab->choose("configModePopup", "json");
        QCOMPARE(m_tab->env()->palette().color(QPalette::Text), QColor(Qt::yellow));
        dark.setColor(QPalette::Text, Qt::cyan);
        m_tab->view().setPalette(dark);
        QCOMPARE(m_tab->env()->palette().color(QPalette::Text), QColor(Qt::cyan));
        m_tab->choose("configModePopup", "dynamic");
        QCOMPARE(m_tab->env()->palette().color(QPalette::Text), Colors::secondaryText(dark));
    }

    void aCredentialStaysWhereTheNextSkillCannotBeLoaded()
    {
        Json other = SkillsTab::weather();
        other["skillKey"] = "other";
        m_tab->listed(Json::array({SkillsTab::weather(), other}));
        m_tab->select(0);
        m_tab->apiKey()->setText(u"typed"_s);
        m_tab->backend.raise("get_skill_entry", "OSError", "no entry");
        QVERIFY(DialogRobot::alertOf([this] { m_tab->select(1); }).startsWith(u"Load Failed"_s));
        QCOMPARE(m_tab->apiKey()->text(), u"typed"_s);
    }

    void aCredentialIsNotSavedForASkillThatNeedsNone()
    {
        m_tab->select(0);
        QCOMPARE(m_tab->apiKey()->text(), u"k"_s);
        m_tab->backend.raise("get_skill_entry", "OSError", "no entry");
        QVERIFY(DialogRobot::alertOf([this] { m_tab->select(2); }).startsWith(u"Load Failed"_s));
        m_tab->press("Save Config");
        QCOMPARE(sentEntry()["apiKey"].dump(), std::string(R"("")"));
    }

    void changingTheModeLoadsNothing()
    {
        m_tab->select(0);
        m_tab->choose("configModePopup", "json");
        m_tab->select(1); // and another skill keeps the mode
        QVERIFY(m_tab->find<QWidget>("dynamicFieldsStack")->isHidden());
        m_tab->select(0);
        m_tab->field("REGION")->setText(u"edited"_s);
        m_tab->choose("configModePopup", "dynamic");
        QCOMPARE(m_tab->field("REGION")->text(), u"edited"_s);
        QCOMPARE(m_tab->backend.count("get_skill_entry"), 3);
    }

    void savesTheFieldsInDynamicMode()
    {
        m_tab->select(0);
        m_tab->choose("enabledPopup", "false");
        m_tab->field("TOKEN")->setText(u" t \n"_s);
        m_tab->field("REGION")->setText(u"亚洲"_s);
        m_tab->press("Save Config");
        const char* const arguments = R"(["openclaw","weather",{"enabled":false,"apiKey":"t",)"
                                      "\"env\":{\"TOKEN\":\"t\",\"REGION\":\"亚洲\"},\"config\":{\"z\":1.0}}]";
        QCOMPARE(m_tab->arguments("save_skill_entry").dump(), std::string(arguments));
        QCOMPARE(m_tab->status(), u"Saved config for weather."_s);
    }

    void savesTheTextInJsonMode()
    {
        m_tab->select(0);
        m_tab->choose("configModePopup", "json");
        m_tab->env()->setPlainText(u" {\"b\": \"1\", \"TOKEN\": 2} "_s);
        m_tab->press("Save Config");
        QCOMPARE(sentEntry()["env"].dump(), std::string(R"({"b":"1","TOKEN":2})"));
        QCOMPARE(sentEntry()["apiKey"].dump(), std::string(R"("2")"));
        QCOMPARE(m_tab->env()->toPlainText(), u"{\n  \"TOKEN\": 2,\n  \"b\": \"1\"\n}"_s);

        m_tab->env()->clear();
        m_tab->press("Save Config");
        QCOMPARE(sentEntry()["env"].dump(), std::string("{}"));
        QCOMPARE(m_tab->env()->toPlainText(), u"{}"_s);
    }

    void aTextIsSavedAsItWasLoaded()
    {
        const Json env = {{"A", "no-break\u00a0space"}, {"B", "line\u2028paragraph\u2029frame\ufdd0end\ufdd1"}};
        m_tab->entered({{"env", env}});
        m_tab->select(2);
        const DialogRobot robot;
        m_tab->press("Save Config");
        QCOMPARE(sentEntry()["env"].dump(), env.dump());
        m_tab->choose("configModePopup", "json");
        m_tab->press("Save Config");
        QCOMPARE(sentEntry()["env"].dump(), env.dump());
        QCOMPARE(robot.titles(), QStringList());
    }

    void aTextThatIsNoObjectIsNotSent()
    {
        m_tab->select(0);
        m_tab->choose("configModePopup", "json");
        for (const QString& text : {u"[1]"_s, u"7"_s, u"{\"a\":"_s}) {
            m_tab->env()->setPlainText(text);
            QCOMPARE(m_tab->alertAfter("Save Config"), u"Invalid JSON: ENV must be a JSON object."_s);
            QCOMPARE(m_tab->env()->toPlainText(), text);
        }
        QCOMPARE(m_tab->backend.count("save_skill_entry"), 0);
    }

    void theCredentialFieldIsSavedWhenTheEnvironmentHasNoCredential()
    {
        m_tab->select(0);
        m_tab->apiKey()->setText(u" typed "_s);
        m_tab->field("TOKEN")->clear();
        m_tab->press("Save Config");
        QCOMPARE(sentEntry()["apiKey"].dump(), std::string(R"(" typed ")"));
        m_tab->field("TOKEN")->setText(u"t"_s);
        m_tab->press("Save Config");
        QCOMPARE(sentEntry()["apiKey"].dump(), std::string(R"("t")"));
    }

    void aRefreshResetsTheConfiguration()
    {
        m_tab->select(0);
        m_tab->press("Refresh");
        m_tab->backend.raise("get_skill_entry", "OSError", "x");
        QVERIFY(DialogRobot::alertOf([this] { m_tab->select(0); }).startsWith(u"Load Failed"_s));
        m_tab->press("Save Config");
        QCOMPARE(sentEntry()["config"].dump(), std::string("{}"));
    }

    void eachLoadShowsWhatIsSavedNow()
    {
        m_tab->select(0);
        m_tab->choose("enabledPopup", "false");
        m_tab->field("REGION")->setText(u"edited"_s);
        m_tab->apiKey()->setText(u"edited"_s);
        m_tab->env()->setPlainText(u"edited"_s);
        m_tab->entered({{"apiKey", "other"}, {"env", {{"REGION", "亚洲"}}}, {"config", {{"new", 1}}}});
        m_tab->press("Load Config");
        QCOMPARE(m_tab->env()->toPlainText(), u"{\n  \"REGION\": \"亚洲\"\n}"_s);
        QCOMPARE(m_tab->title("enabledPopup"), u"true"_s);
        QCOMPARE(m_tab->field("REGION")->text(), u"亚洲"_s);
        QCOMPARE(m_tab->apiKey()->text(), u"other"_s);
        m_tab->press("Save Config");
        QCOMPARE(sentEntry()["config"].dump(), std::string(R"({"new":1})"));
        m_tab->entered(Json::object());
        m_tab->press("Load Config");
        m_tab->press("Save Config");
        QCOMPARE(sentEntry()["config"].dump(), std::string("{}"));
    }

    void whatIsSavedStaysAsItWasTyped()
    {
        m_tab->select(0);
        m_tab->choose("enabledPopup", "false");
        m_tab->field("REGION")->setText(u" 亚洲 "_s);
        m_tab->apiKey()->setText(u" typed "_s);
        m_tab->env()->setPlainText(u"{}"_s);
        QStringList expected = m_tab->everything();
        m_tab->press("Save Config");
        expected.replaceInStrings(u"envTextView={}"_s,
                                  u"envTextView={\n  \"REGION\": \"亚洲\",\n  \"TOKEN\": \"k\"\n}"_s);
        expected.replaceInStrings(u"=Loaded config for weather."_s, u"=Saved config for weather."_s);
        QCOMPARE(m_tab->everything(), expected);
        const std::string first = sentEntry().dump();
        m_tab->press("Save Config");
        QCOMPARE(sentEntry().dump(), first);
    }

private:
    Json sentEntry() const { return m_tab->arguments("save_skill_entry").at(2); }

    Fresh<SkillsTab> m_tab{this};
};

QTEST_MAIN(TestSkillEntryEditor)
#include "TestSkillEntryEditor.moc"
