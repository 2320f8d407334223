#include "skills/SkillsTab.h"
#include "support/CaseTable.h"
#include "support/TestCase.h"
#include "support/UnreadReplies.h"

#include <QHeaderView>
#include <QPaintEvent>
#include <QScrollBar>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

/// Records which parts of each widget are painted, and which parts are painted more than once.
class PaintWatcher final : public QObject
{
public:
    QHash<QObject*, QRegion> painted;
    QHash<QObject*, QRegion> paintedAgain;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() != QEvent::Paint)
            return false;
        const QRegion region = static_cast<QPaintEvent*>(event)->region();
        const QRegion again = painted.value(watched) & region;
        if (!again.isEmpty())
            paintedAgain[watched] += again;
        painted[watched] += region;
        return false;
    }
};

} // namespace

/// The Skills tab: ecosystems, agents, the list of skills, the selected skill, and what its buttons do.
class TestSkillsViewController final : public TestCase
{
    Q_OBJECT

private slots:
    void loadsAgentsThenSkillsOnce()
    {
        m_tab->view().show();
        m_tab->view().hide();
        m_tab->view().show();
        QCOMPARE(m_tab->functions(),
                 (std::vector<std::string>{"list_local_agents", "list_skills", "get_adapter_snapshot"}));
        QCOMPARE(m_tab->arguments("list_local_agents").dump(), std::string("[]"));
        QCOMPARE(m_tab->arguments("list_skills").dump(), std::string("[\"openclaw\"]"));
        QCOMPARE(m_tab->arguments("get_adapter_snapshot").dump(), std::string("[\"openclaw\"]"));
        QCOMPARE(m_tab->title("configModePopup"), u"dynamic"_s);
        QCOMPARE(m_tab->titles("ecosystemPopup"), (QStringList{u"openclaw"_s, u"codex"_s, u"kimi"_s}));
        QCOMPARE(m_tab->titles("configModePopup"), (QStringList{u"dynamic"_s, u"json"_s}));
        QCOMPARE(m_tab->meta(), u"Select a skill"_s);
    }

    void offersTheAgentsOfTheEcosystem()
    {
        QCOMPARE(m_tab->titles("agentPopup"), (QStringList{u"Main (main)"_s, u"second (second)"_s}));
        QCOMPARE(m_tab->title("agentPopup"), u"Main (main)"_s);
        const std::size_t calls = m_tab->functions().size();
        m_tab->choose("agentPopup", "second (second)");
        QCOMPARE(m_tab->functions().size(), calls);
        m_tab->choose("ecosystemPopup", "codex");
        QCOMPARE(m_tab->titles("agentPopup"), QStringList{u"Coder (c)"_s});
        m_tab->choose("ecosystemPopup", "kimi");
        QCOMPARE(m_tab->titles("agentPopup"), QStringList{u"(none)"_s});
        m_tab->choose("ecosystemPopup", "openclaw");
        QCOMPARE(m_tab->title("agentPopup"), u"Main (main)"_s);
    }

    void aListOfAgentsThatCannotBeReadHasATitle()
    {
        const CaseTable<Json, QString> cases{
            {"a failure", {{"raise", {"OSError", "x"}}}, u"(load failed)"_s},
            {"no list", {{"answer", {{"id", "a"}}}}, u"(none)"_s},
            {"rows that are no objects", {{"answer", {{{"id", "a"}, {"ecosystem", "openclaw"}}, 1}}}, u"(none)"_s},
        };
        for (const auto& [step, title] : cases) {
            restart();
            m_tab->backend.script("list_local_agents", {step});
            QCOMPARE(m_tab->titles("agentPopup"), QStringList{title});
            QCOMPARE(m_tab->rows().size(), 3); // the skills are listed nevertheless
        }
    }

    void listsTheSkillsOfTheEcosystem()
    {
        QCOMPARE(m_tab->rows(), (QStringList{u"weather"_s, u"[workspace] social-media-alert"_s, u"plain"_s}));
        QCOMPARE(m_tab->status(), u"Loaded 3 skills for openclaw."_s);
        QCOMPARE(m_tab->label("configPathLabel"), u"Config: /home/me/.openclaw/openclaw.json"_s);
        QCOMPARE(m_tab->label("skillDirsLabel"), u"Skill dirs: /a | /b"_s);
        QVERIFY(m_tab->table()->selectionModel()->selectedRows().isEmpty());
    }

    void theListIsOneColumnWithoutAHeader()
    {
        m_tab->show();
        QCOMPARE(m_tab->table()->model()->columnCount(), 1);
        QVERIFY(!m_tab->table()->horizontalHeader()->isVisible());
        QCOMPARE(m_tab->table()->textElideMode(), Qt::ElideRight);
        QCOMPARE(m_tab->table()->columnWidth(0), m_tab->table()->viewport()->width());
    }

    void anotherEcosystemShowsNothingOfTheFormerOne()
    {
        m_tab->select(0);
        m_tab->listed(Json::array());
        m_tab->backend.answer("get_adapter_snapshot", Json::object());
        const auto before = static_cast<std::ptrdiff_t>(m_tab->functions().size());
        m_tab->choose("ecosystemPopup", "codex");
        const std::vector<std::string> functions = m_tab->functions();
        QCOMPARE(std::vector<std::string>(functions.begin() + before, functions.end()),
                 (std::vector<std::string>{"list_local_agents", "list_skills", "get_adapter_snapshot"}));
        QCOMPARE(m_tab->arguments("list_skills").dump(), std::string("[\"codex\"]"));
        QCOMPARE(m_tab->arguments("get_adapter_snapshot").dump(), std::string("[\"codex\"]"));
        QCOMPARE(m_tab->rows(), QStringList());
        QCOMPARE(m_tab->status(), u"Loaded 0 skills for codex."_s);
        QCOMPARE(m_tab->label("configPathLabel"), u"Config: "_s);
        QCOMPARE(m_tab->label("skillDirsLabel"), u"Skill dirs: (none)"_s);
        QCOMPARE(m_tab->meta(), u"Select a skill"_s);
        QCOMPARE(m_tab->env()->toPlainText(), u"{}"_s);
        QVERIFY(m_tab->fields().isEmpty());
    }

    void aFailedListIsEmptyAndNothingElseIsLoaded()
    {
        m_tab->backend.raise("list_skills", "OSError", "no <b>skills</b>\nnor 技能");
        QCOMPARE(m_tab->rows(), QStringList());
        QCOMPARE(m_tab->status(), u"ERROR: OSError: no <b>skills</b>\nnor 技能"_s);
        QCOMPARE(m_tab->backend.count("get_adapter_snapshot"), 0);
        QCOMPARE(m_tab->meta(), u"Select a skill"_s);
        QCOMPARE(m_tab->label("envLabel"), u"ENV (JSON snapshot)"_s);
        QVERIFY(m_tab->env()->isReadOnly());
        QCOMPARE(m_tab->credential(), u"apiKeyLabel=API Key shown|apiKeyField= shown"_s); // nothing has hidden it yet
        QCOMPARE(m_tab->apiKey()->placeholderText(), u"API Key"_s);
        QVERIFY(m_tab->find<QWidget>("sourceSection")->isHidden());
    }

    void theSnapshotIsReadLeniently()
    {
        const CaseTable<Json, QString> cases{
            {"a text in place of folders", {{"answer", {{"configPath", "/c"}, {"skillDirs", "/a"}}}}, u"Config: /c"_s},
            {"a number among the folders", {{"answer", {{"configPath", 7}, {"skillDirs", {"/a", 1}}}}}, u"Config: 7"_s},
            {"no folders", {{"answer", {{"skillDirs", Json::array()}}}}, u"Config: "_s},
            {"a list", {{"answer", Json::array({"/c"})}}, u"Config: "_s},
            {"a failure, which is silent", {{"raise", {"OSError", "x"}}}, u"Config: "_s},
        };
        for (const auto& [step, config] : cases) {
            restart();
            m_tab->backend.script("get_adapter_snapshot", {step});
            QCOMPARE(m_tab->label("configPathLabel"), config);
            QCOMPARE(m_tab->label("skillDirsLabel"), u"Skill dirs: (none)"_s);
            QCOMPARE(m_tab->status(), u"Loaded 3 skills for openclaw."_s);
        }
    }

    void selectingASkillShowsAndLoadsIt()
    {
        m_tab->show();
        m_tab->select(0);
        QCOMPARE(m_tab->meta(), u"Tells it.\nskillKey: weather\npath: /skills/weather\nrequires.env: TOKEN, REGION"_s);
        QCOMPARE(m_tab->arguments("get_skill_entry").dump(), std::string(R"(["openclaw","weather"])"));
        QCOMPARE(m_tab->status(), u"Loaded config for weather."_s);
        QCOMPARE(m_tab->fields().size(), 2);
    }

    void aSkillWithoutANameIsCalledByItsKey()
    {
        m_tab->listed({{{"skillKey", "k"}}});
        m_tab->backend.raise("get_skill_entry", "OSError",
                             "x"); // the status of a loaded entry would follow immediately
        m_tab->view();
        QVERIFY(DialogRobot::alertOf([this] { m_tab->select(0); }).startsWith(u"Load Failed"_s));
        QCOMPARE(m_tab->rows(), QStringList{u"(unknown)"_s});
        QCOMPARE(m_tab->status(), u"Selected k."_s);
    }

    void aClickBesideTheRowsKeepsTheSkill()
    {
        m_tab->show();
        m_tab->select(0);
        QTest::mouseClick(m_tab->table()->viewport(), Qt::LeftButton, {},
                          m_tab->table()->viewport()->rect().bottomLeft() + QPoint(5, -5));
        m_tab->press("Load Config");
        QCOMPARE(m_tab->backend.count("get_skill_entry"), 2);
        QCOMPARE(m_tab->arguments("get_skill_entry").dump(), std::string(R"(["openclaw","weather"])"));
    }

    void choosingPaintsEverythingOnce()
    {
        m_tab->show();
        m_tab->select(2);
        QCoreApplication::processEvents();
        PaintWatcher watcher;
        qApp->installEventFilter(&watcher);
        m_tab->table()->selectRow(0);
        QVERIFY(watcher.painted.isEmpty()); // nothing incomplete is shown
        QTRY_VERIFY(watcher.painted.contains(m_tab->field("REGION")));
        QCoreApplication::processEvents();
        for (auto widget = watcher.paintedAgain.keyBegin(); widget != watcher.paintedAgain.keyEnd(); ++widget)
            QFAIL((*widget)->metaObject()->className());
    }

    void aRefreshClearsTheSelection()
    {
        m_tab->select(0);
        m_tab->listed(Json::array({SkillsTab::weather()}));
        m_tab->press("Refresh");
        QCOMPARE(m_tab->backend.count("list_local_agents"), 1); // only the skills are loaded again
        QVERIFY(m_tab->table()->selectionModel()->selectedRows().isEmpty());
        QCOMPARE(m_tab->meta(), u"Select a skill"_s);
        QVERIFY(m_tab->alertAfter("Load Config").startsWith(u"No Selection"_s));
    }

    void aRefreshShowsAnEntryThatSaysNothing()
    {
        m_tab->entered({{"enabled", false}, {"apiKey", "k"}});
        m_tab->select(0);
        QCOMPARE(m_tab->title("enabledPopup"), u"false"_s);
        QCOMPARE(m_tab->credential(), u"apiKeyLabel=API Key shown|apiKeyField=k shown"_s);
        m_tab->press("Refresh");
        QCOMPARE(m_tab->title("enabledPopup"), u"true"_s);
        QCOMPARE(m_tab->credential(), u"apiKeyLabel=API Key hidden|apiKeyField= hidden"_s);
    }

    void withoutAnEcosystemItIsOpenclaw()
    {
        m_tab->find<QComboBox>("ecosystemPopup")->setCurrentIndex(-1);
        m_tab->press("Refresh");
        QCOMPARE(m_tab->arguments("list_skills").dump(), std::string(R"(["openclaw"])"));
        QCOMPARE(m_tab->arguments("get_adapter_snapshot").dump(), std::string(R"(["openclaw"])"));
        QCOMPARE(m_tab->status(), u"Loaded 3 skills for openclaw."_s);
    }

    void aFailedRefreshChangesNothingButRowsAndStatus()
    {
        QStringList expected = editEverything();
        expected.replaceInStrings(u"=Loaded config for weather."_s, u"=ERROR: OSError: x"_s);
        m_tab->backend.raise("list_skills", "OSError", "x");
        m_tab->press("Refresh");
        QCOMPARE(m_tab->everything(), expected);
        QCOMPARE(m_tab->rows(), QStringList());
        m_tab->press("Save Config"); // the skill of the editor, which is not listed any more
        const char* const saved = R"(["openclaw","weather",{"enabled":false,"apiKey":"k",)"
                                  R"("env":{"TOKEN":"k","REGION":"typed, too"},"config":{"z":1.0}}])";
        QCOMPARE(m_tab->arguments("save_skill_entry").dump(), std::string(saved));
    }

    void longTextsDoNotChangeTheSizeOfTheTab()
    {
        std::string longText;
        while (longText.size() < 100'000)
            longText += std::string(700, 'W') + " word\n";
        Json names = Json::array();
        for (int i = 0; i < 200; ++i)
            names.push_back("VARIABLE_" + std::to_string(i) + std::string(500, 'X'));
        m_tab->listed(
            {{{"name", longText}, {"skillKey", longText}, {"description", longText}, {"requiredEnv", names}}});
        m_tab->backend.answer("list_local_agents", {{{"id", longText}, {"ecosystem", "openclaw"}}});
        m_tab->backend.answer("get_adapter_snapshot", {{"configPath", longText}, {"skillDirs", {longText}}});
        m_tab->entered({{"env", {{longText, longText}}}});
        m_tab->show();
        m_tab->select(0);
        QCoreApplication::processEvents();
        QCOMPARE(m_tab->view().size(), QSize(1000, 640));
        QVERIFY(m_tab->view().minimumSizeHint().width() <= 1000);
        QVERIFY(m_tab->view().minimumSizeHint().height() <= 600);
        QVERIFY(m_tab->find<ScrollingLabel>("metaLabel")->verticalScrollBar()->maximum() > 0);
        for (const QString& caption : {u"Ecosystem"_s, u"Agent"_s, u"Config Mode"_s}) {
            const auto* label = Controls::named<QLabel>(m_tab->view(), caption);
            QCOMPARE(label->width(), label->sizeHint().width());
        }
    }

    void aFailureIsReportedAndChangesNothing()
    {
        const CaseTable<const char*, std::string, QString, DialogRobot::Answer> cases{
            {"to load", "Load Config", "get_skill_entry", u"Load Failed"_s, DialogRobot::press(u"OK"_s)},
            {"to save", "Save Config", "save_skill_entry", u"Save Failed"_s, DialogRobot::press(u"OK"_s)},
            {"to add a source", "Add Source", "add_news_source", u"Add Source Failed"_s, DialogRobot::press(u"Add"_s)},
            {"to install", "Install Skill", "install_openclaw_skill_zip", u"Install Failed"_s,
             SkillsTab::chooseFile(m_tab->package(u"a.zip"_s))},
        };
        const QStringList before = editEverything();
        for (const auto& [button, function, title, answer] : cases) {
            m_tab->backend.raise(function, "OSError", "no <b>luck</b>");
            const DialogRobot robot({answer});
            m_tab->press(button);
            QCOMPARE(robot.shown().back().title, title);
            QCOMPARE(robot.shown().back().text, u"ERROR: OSError: no <b>luck</b>"_s);
            QCOMPARE(m_tab->functions().back(), function);
            QTRY_COMPARE(m_tab->everything(), before); // the panel is deleted by the event loop
        }
    }

    void anyReplyThatIsNoErrorIsASuccess_data() { addUnreadReplies(); }

    void anyReplyThatIsNoErrorIsASuccess()
    {
        QFETCH(Json, reply);
        m_tab->backend.answer("save_skill_entry", reply);
        m_tab->backend.answer("add_news_source", reply);
        m_tab->select(1);
        const DialogRobot robot({DialogRobot::press(u"Add"_s)});
        m_tab->press("Save Config");
        QCOMPARE(m_tab->status(), u"Saved config for sma."_s);
        m_tab->press("Add Source");
        QCOMPARE(m_tab->status(), u"Source added."_s);
        QCOMPARE(robot.shown().size(), std::size_t(1));
    }

    void whatIsCancelledChangesNothing()
    {
        const CaseTable<const char*, std::size_t, std::string> cases{
            {"a new source", "Add Source", 1, "list_news_sources"},
            {"the choice of a package", "Install Skill", 1, "list_news_sources"},
            {"the choice of a cloud skill", "Install Cloud Skill", 1, "list_cloud_skills_via_core"},
            {"the choice of its agent, though it is the only one", "Install Cloud Skill", 2, "list_core_agents"},
        };
        m_tab->backend.answer("list_core_agents", Json::array({{{"ecosystem", "openclaw"}, {"id", "2"}}}));
        const QStringList before = editEverything();
        for (const auto& [button, dialogs, lastCall] : cases) {
            const DialogRobot robot(std::vector(dialogs - 1, DialogRobot::press(u"Install"_s)));
            m_tab->press(button);
            QCOMPARE(robot.shown().size(), dialogs);
            QCOMPARE(m_tab->functions().back(), lastCall);
            QTRY_COMPARE(m_tab->everything(), before); // the panel is deleted by the event loop
        }
    }

    void aViewThatIsDeletedUnderItsDialogDoesNothingMore()
    {
        const CaseTable<int, const char*, DialogRobot::Answer> cases{
            {"an alert", -1, "Load Config", DialogRobot::press(Qt::Key_Return)},
            {"the form of a source", 1, "Add Source", DialogRobot::press(u"Add"_s)},
            {"a choice", 1, "Install Cloud Skill", DialogRobot::press(u"Install"_s)},
            {"a panel, which is deleted with the view", 1, "Install Skill", [](QDialog& /*deleted*/) {}},
        };
        for (const auto& [row, title, answer] : cases) {
            restart();
            m_tab->table()->selectRow(row);
            QPushButton* button = Controls::button(m_tab->view(), QString::fromLatin1(title));
            std::vector<std::string> before;
            const DialogRobot robot({[&, answer = answer](QDialog& dialog) {
                before = m_tab->functions();
                m_tab->discardView();
                answer(dialog);
            }});
            QTimer::singleShot(0, button, &QPushButton::click);
            QTRY_COMPARE(robot.shown().size(), std::size_t(1));
            QTRY_VERIFY(!QApplication::activeModalWidget());
            QVERIFY(m_tab->functions() == before);
        }
    }

private:
    /// Selects a skill that has variables, a credential and news sources, edits all its fields, and returns what the
    /// tab shows then.
    QStringList editEverything()
    {
        Json skill = SkillsTab::weather();
        skill["name"] = "social-media-alert";
        m_tab->listed(Json::array({skill}));
        m_tab->select(0);
        m_tab->choose("enabledPopup", "false");
        m_tab->apiKey()->setText(u"typed"_s);
        m_tab->field("REGION")->setText(u"typed, too"_s);
        m_tab->env()->setPlainText(u"edited"_s);
        return m_tab->everything();
    }

    Fresh<SkillsTab> m_tab{this};
};

QTEST_MAIN(TestSkillsViewController)
#include "TestSkillsViewController.moc"
