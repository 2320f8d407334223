#include "agents/AgentAnswers.h"
#include "agents/AgentsTab.h"
#include "support/Cases.h"
#include "support/TestCase.h"

#include <QApplication>

using namespace Qt::StringLiterals;

/// The Agents tab's actions when something fails, dies or goes away meanwhile.
class TestAgentActionFaults final : public TestCase
{
    Q_OBJECT

private slots:
    void aFailureIsToldInFull_data()
    {
        const Cases<QByteArray, QByteArray, QByteArray, DialogRobot::Answer, QByteArray, QString> add(
            "ecosystem", "origin", "button", "answer", "function", "title");
        const DialogRobot::Answer addCodex = AgentAnswers::create(u"codex"_s, {});
        const DialogRobot::Answer confirm = DialogRobot::press(Qt::Key_Return);
        add("adding", "codex", "managed", "Add Agent", addCodex, "add_local_agent", u"Add Agent Failed"_s);
        add("setting openclaw up", "codex", "managed", "Add Agent", confirm,
            "launch_openclaw_install_or_configure_interactive", u"OpenClaw Setup Failed"_s);
        add("renaming", "codex", "managed", "Adopt / Rename", confirm, "rename_local_agent", u"Save Failed"_s);
        add("adopting", "codex", "discovered", "Adopt / Rename", confirm, "adopt_local_agent", u"Save Failed"_s);
        add("deleting", "codex", "managed", "Delete", confirm, "delete_local_agent", u"Delete Failed"_s);
        add("configuring", "openclaw", "managed", "Run Configure", {}, "launch_openclaw_configure_interactive",
            u"Configure Failed"_s);
    }

    void aFailureIsToldInFull()
    {
        QFETCH(QByteArray, ecosystem);
        QFETCH(QByteArray, origin);
        QFETCH(QByteArray, button);
        QFETCH(DialogRobot::Answer, answer);
        QFETCH(QByteArray, function);
        QFETCH(QString, title);
        m_tab->showSelected(agentRow(ecosystem.toStdString(), "a", origin.toStdString()));
        m_tab->backend.raise(function.toStdString(), "RuntimeError", "没有 <b>it</b>\nInstall it first.");
        const QString statusBefore = m_tab->status();

        std::vector<DialogRobot::Answer> answers{DialogRobot::press(u"OK"_s)};
        if (answer)
            answers.insert(answers.begin(), answer);
        DialogRobot robot(answers);
        m_tab->press(button.constData());
        QCOMPARE(robot.shown().size(), answers.size());
        QCOMPARE(robot.shown().back().title, title);
        QCOMPARE(robot.shown().back().text, u"ERROR: RuntimeError: 没有 <b>it</b>\nInstall it first."_s);
        QCOMPARE(m_tab->actions().size(), 1U);
        QCOMPARE(m_tab->refreshes(), 1);
        QCOMPARE(m_tab->status(), statusBefore);
        QCOMPARE(m_tab->table()->model()->rowCount(), 1);
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
        m_tab->press("Delete");
        QCOMPARE(m_tab->actions(), (std::vector<ScriptedBackend::Call>{{"delete_local_agent", {"codex", "a", true}}}));
    }

private:
    Fresh<AgentsTab> m_tab{this};
};

QTEST_MAIN(TestAgentActionFaults)
#include "TestAgentActionFaults.moc"
