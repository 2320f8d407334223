#include "agents/AgentAnswers.h"
#include "agents/AgentsTab.h"
#include "support/Cases.h"
#include "support/LocalTimeZone.h"
#include "support/TestCase.h"
#include "support/UnreadReplies.h"

#include <QRegularExpression>

#include <optional>

using namespace Qt::StringLiterals;

using Calls = std::vector<ScriptedBackend::Call>;

/// What the Agents tab's buttons do, with their dialogs answered, on the real helper.
class TestAgentActions final : public TestCase
{
    Q_OBJECT

private slots:
    void anActionThatIsNotForTheSelectionSaysSo_data()
    {
        const Cases<QByteArray, QByteArray, QString, QString> add("row", "button", "title", "text");
        const QString none = u"No Selection"_s;
        const QString selectFirst = u"Select an agent first."_s;
        for (const char* button : {"Adopt / Rename", "Run Configure", "Config Editor", "Delete"})
            add(button, {}, button, none, selectFirst);
        const QString unsupported = u"Unsupported"_s;
        const QString onlyOpenclaw = u"Only openclaw configure is supported right now."_s;
        add("not for codex", R"({"ecosystem":"codex"})", "Run Configure", unsupported, onlyOpenclaw);
        add("not without an ecosystem", "{}", "Run Configure", unsupported, onlyOpenclaw);
        add("not with a blank", R"({"ecosystem":"openclaw "})", "Run Configure", unsupported, onlyOpenclaw);
        const QString undeletable = u"Cannot Delete"_s;
        const QString discovered = u"Discovered agents must be removed from their runtime first."_s;
        add("discovered", R"({"ecosystem":"codex","origin":"discovered"})", "Delete", undeletable, discovered);
        add("without an origin", R"({"ecosystem":"codex"})", "Delete", undeletable, discovered);
        add("managed in other letters", R"({"origin":"Managed"})", "Delete", undeletable, discovered);
    }

    void anActionThatIsNotForTheSelectionSaysSo()
    {
        QFETCH(QByteArray, row);
        QFETCH(QByteArray, button);
        if (row.isEmpty())
            m_tab->show(Json::array({agentRow("openclaw", "a")}));
        else
            m_tab->showSelected(Json::parse(row.toStdString()));
        const DialogRobot robot({DialogRobot::press(Qt::Key_Return)});
        m_tab->press(button.constData());
        QCOMPARE(robot.shown().size(), 1U);
        QTEST(robot.shown().at(0).title, "title");
        QTEST(robot.shown().at(0).text, "text");
        QCOMPARE(robot.shown().at(0).buttons, QStringList{u"OK"_s});
        verifyCalls({});
        QCOMPARE(m_tab->refreshes(), 1);
    }

    void addCreatesARecord_data()
    {
        const Cases<QString, QString, QString> add("ecosystem", "entered", "name"); // %1 is the stamp
        add("a codex agent", u"codex"_s, u" 我的 agent\n"_s, u"我的 agent"_s);
        add("a kimi agent", u"kimi"_s, u"<b>&x"_s, u"<b>&x"_s);
        add("one without a name", u"kimi"_s, u" \t"_s, u"kimi %1"_s);
    }

    void addCreatesARecord()
    {
        QFETCH(QString, ecosystem);
        QFETCH(QString, entered);
        QFETCH(QString, name);
        m_tab->show(Json::array());
        const DialogRobot robot({AgentAnswers::create(ecosystem, entered)});
        const QString said =
            m_tab->statusBeforeRefresh(Json::array({agentRow("codex", "new")}), [this] { m_tab->press("Add Agent"); });

        const Calls calls = m_tab->actions();
        QCOMPARE(calls.size(), 1U);
        QCOMPARE(calls.at(0).function, std::string("add_local_agent"));
        const QString id = QString::fromStdString(calls.at(0).args.at(1));
        const QString stamp = id.mid(ecosystem.size() + 1);
        static const QRegularExpression stampPattern(u"^\\d{8}-\\d{6}$"_s);
        QVERIFY(stampPattern.match(stamp).hasMatch());
        QCOMPARE(id, ecosystem + u'-' + stamp);
        const QString workspace = m_tab->backend.home().path(u'.' + ecosystem + u"/agents/"_s + id);
        QCOMPARE(calls.at(0).args.dump(), Json({ecosystem, id, name.replace(u"%1"_s, stamp), workspace}).dump());

        QCOMPARE(said, u"Added agent "_s + ecosystem + u'/' + id);
        QCOMPARE(m_tab->refreshes(), 2);
        QCOMPARE(m_tab->table()->model()->rowCount(), 1);
        QCOMPARE(m_tab->status(), u"Synced local discovery to Core and loaded Core agent registry."_s);
        QCOMPARE(robot.shown().size(), 1U);
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

    void aDialogThatComesToNothingDoesNothing_data()
    {
        const Cases<QByteArray, QByteArray, DialogRobot::Answer> add("origin", "button", "answer");
        for (const char* button : {"Add Agent", "Adopt / Rename", "Delete"}) {
            add(qPrintable(u"%1, cancelled"_s.arg(QLatin1String(button))), "managed", button,
                DialogRobot::press(u"Cancel"_s));
            add(qPrintable(u"%1, escaped"_s.arg(QLatin1String(button))), "managed", button,
                DialogRobot::press(Qt::Key_Escape));
            add(qPrintable(u"%1, closed"_s.arg(QLatin1String(button))), "managed", button,
                [](QDialog& dialog) { dialog.close(); });
        }
        add("no name for a managed agent", "managed", "Adopt / Rename", AgentAnswers::saveName({}));
        add("no name for a discovered agent", "discovered", "Adopt / Rename", AgentAnswers::saveName({}));
        add("nothing but white space", "discovered", "Adopt / Rename", AgentAnswers::saveName(u" \t\u00a0\u3000"_s));
    }

    void aDialogThatComesToNothingDoesNothing()
    {
        QFETCH(QByteArray, origin);
        QFETCH(QByteArray, button);
        QFETCH(DialogRobot::Answer, answer);
        m_tab->showSelected(agentRow("codex", "a", origin.toStdString()));
        const DialogRobot robot({answer});
        m_tab->press(button.constData());
        QCOMPARE(robot.shown().size(), 1U); // and no message
        verifyCalls({});
        QCOMPARE(m_tab->refreshes(), 1);
    }

    void renameAndAdoptAskForANameAndSaveIt_data()
    {
        const Cases<QByteArray, QString, QString, QByteArray, QByteArray> add("row", "title", "name", "function",
                                                                              "args");
        const QString rename = u"Rename Agent"_s;
        const QString adopt = u"Adopt Agent"_s;
        add("a managed agent is renamed", R"({"ecosystem":"codex","id":"a","name":"b","origin":"managed"})", rename,
            u"b"_s, "rename_local_agent", "[\"codex\",\"a\",\"新 name\"]");
        add("a discovered agent is adopted",
            "{\"ecosystem\":\"kimi\",\"id\":\"b\",\"name\":\"名\",\"origin\":\"runtime\",\"workspace\":\"/w\"}", adopt,
            u"名"_s, "adopt_local_agent", "[\"kimi\",\"b\",\"新 name\",\"/w\"]");
        add("one whose case differs is discovered, and its id is its name",
            R"({"ecosystem":"kimi","id":"b","origin":"MANAGED"})", adopt, u"b"_s, "adopt_local_agent",
            "[\"kimi\",\"b\",\"新 name\",\"\"]");
        add("an agent without anything", "{}", adopt, {}, "adopt_local_agent", "[\"\",\"\",\"新 name\",\"\"]");
    }

    void renameAndAdoptAskForANameAndSaveIt()
    {
        QFETCH(QByteArray, row);
        QFETCH(QString, title);
        QFETCH(QByteArray, function);
        QFETCH(QByteArray, args);
        m_tab->showSelected(Json::parse(row.toStdString()));
        QString prefilled;
        const DialogRobot robot({[&prefilled](QDialog& dialog) {
            prefilled = AgentAnswers::nameField(dialog)->text();
            AgentAnswers::saveName(u" 新 name\u2028 "_s)(dialog);
        }});
        const QString said = m_tab->statusBeforeRefresh(Json::array(), [this] { m_tab->press("Adopt / Rename"); });
        const Json call = Json::parse(args.toStdString());
        const QString agent =
            QString::fromStdString(call.at(0).get<std::string>() + '/' + call.at(1).get<std::string>());
        QCOMPARE(robot.titles(), QStringList{title});
        QCOMPARE(robot.shown().at(0).text, agent);
        QTEST(prefilled, "name");
        verifyCalls({{function.toStdString(), call}});
        QCOMPARE(said, (title == u"Rename Agent"_s ? u"Renamed "_s : u"Adopted "_s) + agent);
        QCOMPARE(m_tab->refreshes(), 2);
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

private:
    void verifyCalls(const Calls& expected) const { QVERIFY(m_tab->actions() == expected); }

    Fresh<AgentsTab> m_tab{this};
};

QTEST_MAIN(TestAgentActions)
#include "TestAgentActions.moc"
