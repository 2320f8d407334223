#include "agents/AgentAnswers.h"
#include "agents/AgentsTab.h"
#include "support/CaseTable.h"
#include "support/LocalTimeZone.h"
#include "support/TestCase.h"
#include "support/UnreadReplies.h"

#include <QApplication>
#include <QRegularExpression>

#include <optional>

using namespace Qt::StringLiterals;

using Calls = std::vector<ScriptedBackend::Call>;

/// What the Agents tab's buttons do, with their dialogs answered, on the real helper.
class TestAgentActions final : public TestCase
{
    Q_OBJECT

private slots:
    void anActionThatIsNotForTheSelectionSaysSo()
    {
        const QString selectFirst = u"Select an agent first."_s;
        const QString onlyOpenclaw = u"Only openclaw configure is supported right now."_s;
        const QString discovered = u"Discovered agents must be removed from their runtime first."_s;
        const CaseTable<std::string, const char*, QString, QString> cases{
            {"no selection to rename", {}, "Adopt / Rename", u"No Selection"_s, selectFirst},
            {"no selection to configure", {}, "Run Configure", u"No Selection"_s, selectFirst},
            {"no selection to edit", {}, "Config Editor", u"No Selection"_s, selectFirst},
            {"no selection to delete", {}, "Delete", u"No Selection"_s, selectFirst},
            {"not for codex", R"({"ecosystem":"codex"})", "Run Configure", u"Unsupported"_s, onlyOpenclaw},
            {"not without an ecosystem", "{}", "Run Configure", u"Unsupported"_s, onlyOpenclaw},
            {"not with a blank", R"({"ecosystem":"openclaw "})", "Run Configure", u"Unsupported"_s, onlyOpenclaw},
            {"discovered", R"({"ecosystem":"codex","origin":"discovered"})", "Delete", u"Cannot Delete"_s, discovered},
            {"without an origin", R"({"ecosystem":"codex"})", "Delete", u"Cannot Delete"_s, discovered},
            {"managed in other letters", R"({"origin":"Managed"})", "Delete", u"Cannot Delete"_s, discovered},
        };
        for (const auto& [row, button, title, text] : cases) {
            restart();
            if (row.empty())
                m_tab->show(Json::array({agentRow("openclaw", "a")}));
            else
                m_tab->showSelected(Json::parse(row));
            const DialogRobot robot({DialogRobot::press(Qt::Key_Return)});
            m_tab->press(button);
            QCOMPARE(robot.titles(), QStringList{title});
            QCOMPARE(robot.shown().at(0).text, text);
            QCOMPARE(robot.shown().at(0).buttons, QStringList{u"OK"_s});
            verifyCalls({});
            QCOMPARE(m_tab->refreshes(), 1);
        }
    }

    void addCreatesARecord()
    {
        const CaseTable<QString, QString, QString> cases{
            {"a codex agent", u"codex"_s, u" 我的 agent\n"_s, u"我的 agent"_s},
            {"a kimi agent", u"kimi"_s, u"<b>&x"_s, u"<b>&x"_s},
            {"one without a name", u"kimi"_s, u" \t"_s, u"kimi %1"_s},
        };
        for (const auto& [ecosystem, entered, name] : cases) {
            restart();
            m_tab->show(Json::array());
            const DialogRobot robot({AgentAnswers::create(ecosystem, entered)});
            const QString said = m_tab->statusBeforeRefresh(Json::array({agentRow("codex", "new")}),
                                                            [this] { m_tab->press("Add Agent"); });

            const Calls calls = m_tab->actions();
            QCOMPARE(calls.size(), 1U);
            QCOMPARE(calls.at(0).function, std::string("add_local_agent"));
            const QString id = QString::fromStdString(calls.at(0).args.at(1));
            const QString stamp = id.mid(ecosystem.size() + 1);
            static const QRegularExpression stampPattern(u"^\\d{8}-\\d{6}$"_s);
            QVERIFY(stampPattern.match(stamp).hasMatch());
            QCOMPARE(id, ecosystem + u'-' + stamp);
            const QString workspace = m_tab->backend.home().path(u'.' + ecosystem + u"/agents/"_s + id);
            QCOMPARE(calls.at(0).args.dump(),
                     Json({ecosystem, id, QString(name).replace(u"%1"_s, stamp), workspace}).dump());

            QCOMPARE(said, u"Added agent "_s + ecosystem + u'/' + id);
            QCOMPARE(m_tab->refreshes(), 2);
            QCOMPARE(m_tab->table()->model()->rowCount(), 1);
            QCOMPARE(m_tab->status(), u"Synced local discovery to Core and loaded Core agent registry."_s);
            QCOMPARE(robot.shown().size(), 1U);
        }
    }

    void theNewAgentsIdBearsTheLocalTimeThatWasShown()
    {
        const LocalTimeZone zone;
        m_tab->show(Json::array());
        QString shown;
        const DialogRobot robot({[&shown](QDialog& dialog) {
            shown = AgentAnswers::nameField(dialog)->text().section(u' ', 1);
            QVERIFY(LocalTimeZone::isNow(shown));
            const int second = QTime::currentTime().second();
            QTRY_VERIFY(QTime::currentTime().second() != second); // a person takes longer than that
            AgentAnswers::create(u"codex"_s, u"a"_s)(dialog);
        }});
        m_tab->press("Add Agent");
        QVERIFY(!shown.isEmpty());
        QCOMPARE(m_tab->actions().at(0).args.at(1).get<std::string>(), "codex-" + shown.toStdString());
    }

    void ofAnAnswerOnlyItsSuccessCounts_data() { addUnreadReplies(); }

    void ofAnAnswerOnlyItsSuccessCounts()
    {
        QFETCH(Json, reply);
        m_tab->show(Json::array({agentRow("openclaw", "a"), agentRow("codex", "b", "discovered")}));
        for (const char* function :
             {"add_local_agent", "adopt_local_agent", "rename_local_agent", "delete_local_agent",
              "launch_openclaw_install_or_configure_interactive", "launch_openclaw_configure_interactive"})
            m_tab->backend.answer(function, reply);
        const auto confirm = DialogRobot::press(Qt::Key_Return);
        const DialogRobot robot(
            {confirm, AgentAnswers::create(u"codex"_s, u"n"_s), confirm, confirm, confirm}); // and no alert
        m_tab->press("Add Agent");
        m_tab->press("Add Agent");
        m_tab->table()->selectRow(0);
        m_tab->press("Adopt / Rename");
        m_tab->press("Run Configure");
        m_tab->press("Delete");
        m_tab->table()->selectRow(1);
        m_tab->press("Adopt / Rename");
        QCOMPARE(robot.titles(), u"Add Agent,Add Agent,Rename Agent,Delete Agent,Adopt Agent"_s.split(u','));
        QCOMPARE(m_tab->actions().size(), 6U);
        QCOMPARE(m_tab->refreshes(), 6);
    }

    void addSetsOpenclawUpInATerminal()
    {
        m_tab->show(Json::array());
        const DialogRobot robot({DialogRobot::press(Qt::Key_Return)});
        const QString said = m_tab->statusBeforeRefresh(Json::array(), [this] { m_tab->press("Add Agent"); });
        verifyCalls({{"launch_openclaw_install_or_configure_interactive", Json::array()}});
        QCOMPARE(said, u"Launched OpenClaw install in Terminal. Refresh after install completes."_s);
        QCOMPARE(m_tab->refreshes(), 2);
    }

    void aDialogThatComesToNothingDoesNothing()
    {
        m_tab->show(Json::array({agentRow("codex", "a"), agentRow("codex", "b", "discovered")}));
        const auto answerDialog = [this](int row, const char* button, const DialogRobot::Answer& answer) {
            m_tab->table()->selectRow(row);
            const DialogRobot robot({answer});
            m_tab->press(button);
            QCOMPARE(robot.shown().size(), 1U); // and no message
            verifyCalls({});
            QCOMPARE(m_tab->refreshes(), 1);
        };
        for (const char* button : {"Add Agent", "Adopt / Rename", "Delete"}) {
            answerDialog(0, button, DialogRobot::press(u"Cancel"_s));
            answerDialog(0, button, DialogRobot::press(Qt::Key_Escape));
            answerDialog(0, button, [](QDialog& dialog) { dialog.close(); });
        }
        answerDialog(0, "Adopt / Rename", AgentAnswers::saveName({}));
        answerDialog(1, "Adopt / Rename", AgentAnswers::saveName({}));
        answerDialog(1, "Adopt / Rename", AgentAnswers::saveName(u" \t\u00a0\u3000"_s));
    }

    void renameAndAdoptAskForANameAndSaveIt()
    {
        const QString rename = u"Rename Agent"_s;
        const QString adopt = u"Adopt Agent"_s;
        const CaseTable<std::string, QString, QString, const char*, const char*> cases{
            {"a managed agent is renamed", R"({"ecosystem":"codex","id":"a","name":"b","origin":"managed"})", rename,
             u"b"_s, "rename_local_agent", "[\"codex\",\"a\",\"新 name\"]"},
            {"a discovered agent is adopted",
             "{\"ecosystem\":\"kimi\",\"id\":\"b\",\"name\":\"名\",\"origin\":\"runtime\",\"workspace\":\"/w\"}", adopt,
             u"名"_s, "adopt_local_agent", "[\"kimi\",\"b\",\"新 name\",\"/w\"]"},
            {"one whose case differs is discovered, and its id is its name",
             R"({"ecosystem":"kimi","id":"b","origin":"MANAGED"})", adopt, u"b"_s, "adopt_local_agent",
             "[\"kimi\",\"b\",\"新 name\",\"\"]"},
            {"an agent without anything", "{}", adopt, {}, "adopt_local_agent", "[\"\",\"\",\"新 name\",\"\"]"},
        };
        for (const auto& [row, title, name, function, args] : cases) {
            restart();
            m_tab->showSelected(Json::parse(row));
            QString prefilled;
            const DialogRobot robot({[&prefilled](QDialog& dialog) {
                prefilled = AgentAnswers::nameField(dialog)->text();
                AgentAnswers::saveName(u" 新 name\u2028 "_s)(dialog);
            }});
            const QString said = m_tab->statusBeforeRefresh(Json::array(), [this] { m_tab->press("Adopt / Rename"); });
            const Json call = Json::parse(args);
            const QString agent =
                QString::fromStdString(call.at(0).get<std::string>() + '/' + call.at(1).get<std::string>());
            QCOMPARE(robot.titles(), QStringList{title});
            QCOMPARE(robot.shown().at(0).text, agent);
            QCOMPARE(prefilled, name);
            verifyCalls({{function, call}});
            QCOMPARE(said, (title == u"Rename Agent"_s ? u"Renamed "_s : u"Adopted "_s) + agent);
            QCOMPARE(m_tab->refreshes(), 2);
        }
    }

    void configureRunsForOpenclawInAnyLetters()
    {
        const DialogRobot robot;
        m_tab->show({agentRow("openclaw", "a"), agentRow("OpenCLAW", "b")});
        for (const int row : {0, 1}) {
            m_tab->table()->selectRow(row);
            m_tab->press("Run Configure");
            QCOMPARE(m_tab->actions().size(), static_cast<std::size_t>(row) + 1);
            QCOMPARE(m_tab->actions().back(),
                     (ScriptedBackend::Call{"launch_openclaw_configure_interactive", Json::array()}));
            QCOMPARE(m_tab->status(), u"Launched openclaw configure."_s);
        }
        QCOMPARE(m_tab->refreshes(), 1);
        QVERIFY(robot.shown().empty());
    }

    void deleteAsksAndDeletesWithTheWorkspace()
    {
        m_tab->show(Json::array({agentRow("kimi", "other"), agentRow("codex", "a")}));
        m_tab->table()->selectRow(1);
        const DialogRobot robot({DialogRobot::press(u"Delete"_s)});
        const QString said =
            m_tab->statusBeforeRefresh(Json::array({agentRow("kimi", "other")}), [this] { m_tab->press("Delete"); });
        QCOMPARE(robot.titles(), QStringList{u"Delete Agent"_s});
        QCOMPARE(robot.shown().at(0).text, u"Delete codex/a and remove its workspace?"_s);
        QCOMPARE(robot.shown().at(0).buttons, QStringList({u"Cancel"_s, u"Delete"_s}));
        QCOMPARE(robot.shown().at(0).defaultButton, u"Delete"_s);
        verifyCalls({{"delete_local_agent", {"codex", "a", true}}});
        QCOMPARE(said, u"Deleted codex/a"_s);
        QCOMPARE(m_tab->table()->model()->rowCount(), 1);
        QVERIFY(!m_tab->table()->selectedRow());
    }

    void anAgentThatIsCreatedAnewMeanwhileStaysListed()
    {
        m_tab->showSelected(agentRow("codex", "a"));
        m_tab->answer(Json::array({agentRow("kimi", "b"), agentRow("codex", "a", "discovered")}));
        const DialogRobot robot({DialogRobot::press(u"Delete"_s)});
        m_tab->press("Delete");
        QCOMPARE(m_tab->table()->model()->rowCount(), 2);
        QCOMPARE(m_tab->table()->selectedRow(), std::optional(agentRow("codex", "a", "discovered")));
        QCOMPARE(robot.shown().size(), 1U);
    }

    void aFailureIsToldInFull()
    {
        const DialogRobot::Answer addCodex = AgentAnswers::create(u"codex"_s, {});
        const DialogRobot::Answer confirm = DialogRobot::press(Qt::Key_Return);
        const CaseTable<const char*, const char*, const char*, DialogRobot::Answer, const char*, QString> cases{
            {"adding", "codex", "managed", "Add Agent", addCodex, "add_local_agent", u"Add Agent Failed"_s},
            {"setting openclaw up", "codex", "managed", "Add Agent", confirm,
             "launch_openclaw_install_or_configure_interactive", u"OpenClaw Setup Failed"_s},
            {"renaming", "codex", "managed", "Adopt / Rename", confirm, "rename_local_agent", u"Save Failed"_s},
            {"adopting", "codex", "discovered", "Adopt / Rename", confirm, "adopt_local_agent", u"Save Failed"_s},
            {"deleting", "codex", "managed", "Delete", confirm, "delete_local_agent", u"Delete Failed"_s},
            {"configuring", "openclaw", "managed", "Run Configure", DialogRobot::Answer(),
             "launch_openclaw_configure_interactive", u"Configure Failed"_s},
        };
        for (const auto& [ecosystem, origin, button, answer, function, title] : cases) {
            restart();
            m_tab->showSelected(agentRow(ecosystem, "a", origin));
            m_tab->backend.raise(function, "RuntimeError", "没有 <b>it</b>\nInstall it first.");
            const QString statusBefore = m_tab->status();

            std::vector<DialogRobot::Answer> answers{DialogRobot::press(u"OK"_s)};
            if (answer)
                answers.insert(answers.begin(), answer);
            DialogRobot robot(answers);
            m_tab->press(button);
            QCOMPARE(robot.shown().size(), answers.size());
            QCOMPARE(robot.shown().back().title, title);
            QCOMPARE(robot.shown().back().text, u"ERROR: RuntimeError: 没有 <b>it</b>\nInstall it first."_s);
            QCOMPARE(m_tab->actions().size(), 1U);
            QCOMPARE(m_tab->refreshes(), 1);
            QCOMPARE(m_tab->status(), statusBefore);
            QCOMPARE(m_tab->table()->model()->rowCount(), 1);
        }
    }

    void underAnOpenDialogARefreshCallsNothing()
    {
        m_tab->showSelected(agentRow("codex", "a"));
        DialogRobot robot({[this](QDialog& dialog) {
            QVERIFY(QTest::qWaitForWindowActive(&dialog));
            m_tab->controller->refreshAgents();
            QCOMPARE(m_tab->refreshes(), 1);
            DialogRobot::press(u"Delete"_s)(dialog);
        }});
        m_tab->press("Delete");
        QCOMPARE(m_tab->refreshes(), 2); // the action's own
    }

    void aTabThatGoesUnderItsDialogDoesNoHarm()
    {
        using Action = void (AgentsViewController::*)();
        const CaseTable<Action, bool> cases{
            {"the new agent's", &AgentsViewController::addAgent, true},
            {"the new name's", &AgentsViewController::adoptOrRename, true},
            {"the confirmation's", &AgentsViewController::deleteSelected, true},
            {"an alert's", &AgentsViewController::runConfigure, true},
            {"a missing selection's", &AgentsViewController::openConfigEditor, false},
        };
        for (const auto& [action, isSelected] : cases) {
            restart();
            m_tab->show(Json::array({agentRow("codex", "a")}));
            if (isSelected)
                m_tab->table()->selectRow(0);
            DialogRobot robot({[this](QDialog& dialog) {
                m_tab->window.reset();
                DialogRobot::press(Qt::Key_Return)(dialog);
            }});
            QTimer::singleShot(0, m_tab->controller, action); // a button would not outlive its own click
            QTRY_VERIFY(!m_tab->controller);
            QTRY_COMPARE(robot.shown().size(), 1U);
            QTRY_VERIFY(!QApplication::activeModalWidget());
            QVERIFY(m_tab->actions().empty());
        }
    }

    void whatTheSelectionWasWhenAskedCounts()
    {
        m_tab->show(Json::array({agentRow("codex", "a"), agentRow("kimi", "b")}));
        m_tab->table()->selectRow(0);
        DialogRobot robot({[this](QDialog& dialog) {
            m_tab->table()->setRows({agentRow("kimi", "b")}); // as another program's deletion would show
            m_tab->table()->selectRow(0);
            DialogRobot::press(u"Delete"_s)(dialog);
        }});
        m_tab->press("Delete");
        QCOMPARE(m_tab->actions(), (std::vector<ScriptedBackend::Call>{{"delete_local_agent", {"codex", "a", true}}}));
    }

private:
    void verifyCalls(const Calls& expected) const { QVERIFY(m_tab->actions() == expected); }

    Fresh<AgentsTab> m_tab{this};
};

QTEST_MAIN(TestAgentActions)
#include "TestAgentActions.moc"
