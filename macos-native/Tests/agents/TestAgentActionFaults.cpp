#include "agents/AgentAnswers.h"
#include "agents/AgentsTab.h"
#include "backend/NeloBackend.h"
#include "support/Cases.h"
#include "support/ProcessTable.h"
#include "support/Warnings.h"

#include <QApplication>

#include <csignal>
#include <optional>

using namespace Qt::StringLiterals;

/// The Agents tab's actions when something fails, dies or goes away meanwhile.
class TestAgentActionFaults final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_tab.emplace();
    }

    void cleanup() { m_tab.reset(); }

    void aFailureIsToldInFull_data()
    {
        QTest::addColumn<QByteArray>("ecosystem");
        QTest::addColumn<QByteArray>("origin");
        QTest::addColumn<QString>("button");
        QTest::addColumn<DialogRobot::Answer>("answer");
        QTest::addColumn<QByteArray>("function");
        QTest::addColumn<QString>("title");
        const auto row = [](const char* name, const char* ecosystem, const char* origin, const char* button,
                            const DialogRobot::Answer& answer, const char* function, const char* title) {
            QTest::newRow(name) << QByteArray(ecosystem) << QByteArray(origin) << QString::fromLatin1(button) << answer
                                << QByteArray(function) << QString::fromLatin1(title);
        };
        const DialogRobot::Answer addCodex = AgentAnswers::create(u"codex"_s, {});
        const DialogRobot::Answer confirm = DialogRobot::press(Qt::Key_Return);
        row("adding", "codex", "managed", "Add Agent", addCodex, "add_local_agent", "Add Agent Failed");
        row("setting openclaw up", "codex", "managed", "Add Agent", confirm,
            "launch_openclaw_install_or_configure_interactive", "OpenClaw Setup Failed");
        row("renaming", "codex", "managed", "Adopt / Rename", confirm, "rename_local_agent", "Save Failed");
        row("adopting", "codex", "discovered", "Adopt / Rename", confirm, "adopt_local_agent", "Save Failed");
        row("deleting", "codex", "managed", "Delete", confirm, "delete_local_agent", "Delete Failed");
        row("configuring", "openclaw", "managed", "Run Configure", {}, "launch_openclaw_configure_interactive",
            "Configure Failed");
    }

    void aFailureIsToldInFull()
    {
        QFETCH(QByteArray, ecosystem);
        QFETCH(QByteArray, origin);
        QFETCH(QString, button);
        QFETCH(DialogRobot::Answer, answer);
        QFETCH(QByteArray, function);
        QFETCH(QString, title);
        m_tab->show(Json::array({agentRow(ecosystem.toStdString(), "a", origin.toStdString())}));
        m_tab->table()->selectRow(0);
        m_tab->backend.raise(function.toStdString(), "RuntimeError", "没有 <b>it</b>\nInstall it first.");
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

    void aHelperThatDiesBeforeTheCallIsReplaced()
    {
        m_tab->backend.script("pid", {{{"answer-process-id", true}}});
        m_tab->show(Json::array({agentRow("codex", "a")}));
        m_tab->table()->selectRow(0);
        const DialogRobot robot({[](QDialog& dialog) {
            const pid_t helper = std::stoi(NeloBackend::call("pid"));
            kill(helper, SIGKILL);
            QTRY_VERIFY(ProcessTable::isZombie(helper));
            DialogRobot::press(u"Delete"_s)(dialog);
        }});
        press("Delete");
        QCOMPARE(m_tab->actions().back(), (ScriptedBackend::Call{"delete_local_agent", {"codex", "a", true}}));
        QCOMPARE(robot.titles(), QStringList{u"Delete Agent"_s});
        QCOMPARE(m_tab->refreshes(), 2);
    }

    void aHelperThatDiesInTheCallIsTold()
    {
        m_tab->show(Json::array({agentRow("codex", "a")}));
        m_tab->table()->selectRow(0);
        m_tab->backend.script("delete_local_agent", {{{"exit", 1}}});
        DialogRobot robot({DialogRobot::press(u"Delete"_s), DialogRobot::press(u"OK"_s)});
        press("Delete");
        QCOMPARE(robot.titles(), QStringList({u"Delete Agent"_s, u"Delete Failed"_s}));
        QCOMPARE(robot.shown().back().text, u"ERROR: backend helper terminated"_s);
        QCOMPARE(m_tab->table()->model()->rowCount(), 1);
    }

    void underAnOpenDialogARefreshCallsNothing()
    {
        m_tab->show(Json::array({agentRow("codex", "a")}));
        m_tab->table()->selectRow(0);
        DialogRobot robot({[this](QDialog& dialog) {
            QVERIFY(QTest::qWaitForWindowActive(&dialog));
            m_tab->controller->refreshAgents();
            QCOMPARE(m_tab->refreshes(), 1);
            DialogRobot::press(u"Delete"_s)(dialog);
        }});
        press("Delete");
        QCOMPARE(m_tab->refreshes(), 2); // the action's own
    }

    void aTabThatGoesUnderItsDialogDoesNoHarm_data()
    {
        const Cases<void (AgentsViewController::*)(), bool> add("action", "isSelected");

        using Action = void (AgentsViewController::*)();
        add("the new agent's", Action(&AgentsViewController::addAgent), true);
        add("the new name's", Action(&AgentsViewController::adoptOrRename), true);
        add("the confirmation's", Action(&AgentsViewController::deleteSelected), true);
        add("an alert's", Action(&AgentsViewController::runConfigure), true);
        add("a missing selection's", Action(&AgentsViewController::openConfigEditor), false);
    }

    void aTabThatGoesUnderItsDialogDoesNoHarm()
    {
        using Action = void (AgentsViewController::*)();
        QFETCH(Action, action);
        QFETCH(bool, isSelected);
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

    void whatTheSelectionWasWhenAskedCounts()
    {
        m_tab->show(Json::array({agentRow("codex", "a"), agentRow("kimi", "b")}));
        m_tab->table()->selectRow(0);
        DialogRobot robot({[this](QDialog& dialog) {
            m_tab->table()->setRows({agentRow("kimi", "b")}); // as another program's deletion would show
            m_tab->table()->selectRow(0);
            DialogRobot::press(u"Delete"_s)(dialog);
        }});
        press("Delete");
        QCOMPARE(m_tab->actions(), (std::vector<ScriptedBackend::Call>{{"delete_local_agent", {"codex", "a", true}}}));
    }

private:
    void press(const char* button) const { m_tab->press(QString::fromLatin1(button)); }

    std::optional<AgentsTab> m_tab;
};

QTEST_MAIN(TestAgentActionFaults)
#include "TestAgentActionFaults.moc"
