#include "agents/AgentAnswers.h"
#include "agents/AgentsTab.h"
#include "support/Cases.h"
#include "support/LocalTimeZone.h"
#include "support/UnreadReplies.h"
#include "support/Warnings.h"

#include <QRegularExpression>

#include <optional>

using namespace Qt::StringLiterals;

using Calls = std::vector<ScriptedBackend::Call>;

/// What the Agents tab's buttons do, with their dialogs answered, on the real helper.
class TestAgentActions final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_tab.emplace();
    }

    void cleanup() { m_tab.reset(); }

    void withoutASelectionAnActionSaysSo_data()
    {
        QTest::addColumn<QString>("button");
        for (const char* button : {"Adopt / Rename", "Run Configure", "Config Editor", "Delete"})
            QTest::newRow(button) << QString::fromLatin1(button);
    }

    void withoutASelectionAnActionSaysSo()
    {
        QFETCH(QString, button);
        m_tab->show(Json::array({agentRow("openclaw", "a")}));
        const DialogRobot robot({DialogRobot::press(Qt::Key_Return)});
        m_tab->press(button);
        QCOMPARE(robot.titles(), QStringList{u"No Selection"_s});
        QCOMPARE(robot.shown().at(0).text, u"Select an agent first."_s);
        QCOMPARE(robot.shown().at(0).buttons, QStringList{u"OK"_s});
        verifyCalls({});
        QCOMPARE(m_tab->refreshes(), 1);
    }

    void addCreatesARecord_data()
    {
        QTest::addColumn<QString>("ecosystem");
        QTest::addColumn<QString>("entered");
        QTest::addColumn<QString>("name"); // %1 is the stamp
        QTest::newRow("a codex agent") << u"codex"_s << u" 我的 agent\n"_s << u"我的 agent"_s;
        QTest::newRow("a kimi agent") << u"kimi"_s << u"<b>&x"_s << u"<b>&x"_s;
        QTest::newRow("one without a name") << u"kimi"_s << u" \t"_s << u"kimi %1"_s;
    }

    void addCreatesARecord()
    {
        QFETCH(QString, ecosystem);
        QFETCH(QString, entered);
        QFETCH(QString, name);
        m_tab->show(Json::array());
        const DialogRobot robot({AgentAnswers::create(ecosystem, entered)});
        const QString said =
            m_tab->statusBeforeRefresh(Json::array({agentRow("codex", "new")}), [this] { press("Add Agent"); });

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

    void theNewAgentsIdBearsTheStampThatWasShown()
    {
        m_tab->show(Json::array());
        QString shown;
        const DialogRobot robot({[&shown](QDialog& dialog) {
            shown = AgentAnswers::nameField(dialog)->text().section(u' ', 1);
            const int second = QTime::currentTime().second();
            QTRY_VERIFY(QTime::currentTime().second() != second); // a person takes longer than that
            AgentAnswers::create(u"codex"_s, u"a"_s)(dialog);
        }});
        press("Add Agent");
        QVERIFY(!shown.isEmpty());
        QCOMPARE(m_tab->actions().at(0).args.at(1).get<std::string>(), "codex-" + shown.toStdString());
    }

    void theStampIsTheLocalTime()
    {
        const LocalTimeZone zone;
        m_tab->show(Json::array());
        const DialogRobot robot({[](QDialog& dialog) {
            QVERIFY(LocalTimeZone::isNow(AgentAnswers::nameField(dialog)->text().section(u' ', 1)));
            dialog.reject();
        }});
        press("Add Agent");
        QCOMPARE(robot.shown().size(), 1U);
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
        press("Add Agent");
        press("Add Agent");
        m_tab->table()->selectRow(0);
        press("Adopt / Rename");
        press("Run Configure");
        press("Delete");
        m_tab->table()->selectRow(1);
        press("Adopt / Rename");
        QCOMPARE(robot.titles(), u"Add Agent,Add Agent,Rename Agent,Delete Agent,Adopt Agent"_s.split(u','));
        QCOMPARE(m_tab->actions().size(), 6U);
        QCOMPARE(m_tab->refreshes(), 6);
    }

    void addSetsOpenclawUpInATerminal()
    {
        m_tab->show(Json::array());
        const DialogRobot robot({DialogRobot::press(Qt::Key_Return)});
        const QString said = m_tab->statusBeforeRefresh(Json::array(), [this] { press("Add Agent"); });
        verifyCalls({{"launch_openclaw_install_or_configure_interactive", Json::array()}});
        QCOMPARE(said, u"Launched OpenClaw install in Terminal. Refresh after install completes."_s);
        QCOMPARE(m_tab->refreshes(), 2);
    }

    void aDialogThatIsNotConfirmedDoesNothing_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<DialogRobot::Answer>("answer");
        for (const char* button : {"Add Agent", "Adopt / Rename", "Delete"}) {
            QTest::addRow("%s, cancelled", button) << QString::fromLatin1(button) << DialogRobot::press(u"Cancel"_s);
            QTest::addRow("%s, escaped", button) << QString::fromLatin1(button) << DialogRobot::press(Qt::Key_Escape);
            QTest::addRow("%s, closed", button)
                << QString::fromLatin1(button) << DialogRobot::Answer([](QDialog& dialog) { dialog.close(); });
        }
    }

    void aDialogThatIsNotConfirmedDoesNothing()
    {
        QFETCH(QString, button);
        QFETCH(DialogRobot::Answer, answer);
        m_tab->show(Json::array({agentRow("codex", "a")}));
        m_tab->table()->selectRow(0);
        const DialogRobot robot({answer});
        m_tab->press(button);
        QCOMPARE(robot.shown().size(), 1U);
        verifyCalls({});
        QCOMPARE(m_tab->refreshes(), 1);
    }

    void renameAndAdoptAskWithWhatTheRowHolds_data()
    {
        const Cases<QByteArray, QString, QString, QString> add("row", "title", "text", "name");

        const QString renameTitle = u"Rename Agent"_s;
        const QString adoptTitle = u"Adopt Agent"_s;
        add("a managed agent is renamed",
            "{\"ecosystem\":\"codex\",\"id\":\"a\",\"name\":\"名\",\"origin\":\"managed\"}", renameTitle, u"codex/a"_s,
            u"名"_s);
        add("a discovered agent is adopted", R"({"ecosystem":"codex","id":"a","name":"b","origin":"discovered"})",
            adoptTitle, u"codex/a"_s, u"b"_s);
        add("an agent without a name starts with its id", R"({"ecosystem":"codex","id":"a"})", adoptTitle, u"codex/a"_s,
            u"a"_s);
        add("an agent without anything", "{}", adoptTitle, u"/"_s, {});
    }

    void renameAndAdoptAskWithWhatTheRowHolds()
    {
        QFETCH(QByteArray, row);
        QFETCH(QString, title);
        QFETCH(QString, text);
        QFETCH(QString, name);
        m_tab->show(Json::array({Json::parse(row.toStdString())}));
        m_tab->table()->selectRow(0);
        QString prefilled;
        const DialogRobot robot({[&prefilled](QDialog& dialog) {
            prefilled = AgentAnswers::nameField(dialog)->text();
            dialog.reject();
        }});
        press("Adopt / Rename");
        QCOMPARE(robot.titles(), QStringList{title});
        QCOMPARE(robot.shown().at(0).text, text);
        QCOMPARE(prefilled, name);
    }

    void renameAndAdoptSaveTheName_data()
    {
        const Cases<QByteArray, QByteArray, QByteArray, QString> add("row", "function", "args", "status");
        add("a managed agent", QByteArray(R"({"ecosystem":"codex","id":"a","origin":"managed","workspace":"/w"})"),
            "rename_local_agent", "[\"codex\",\"a\",\"新 name\"]", u"Renamed codex/a"_s);
        add("a discovered agent", R"({"ecosystem":"kimi","id":"b","origin":"runtime","workspace":"/w"})",
            "adopt_local_agent", "[\"kimi\",\"b\",\"新 name\",\"/w\"]", u"Adopted kimi/b"_s);
        add("one whose case differs is discovered", R"({"ecosystem":"kimi","id":"b","origin":"MANAGED"})",
            "adopt_local_agent", "[\"kimi\",\"b\",\"新 name\",\"\"]", u"Adopted kimi/b"_s);
    }

    void renameAndAdoptSaveTheName()
    {
        QFETCH(QByteArray, row);
        QFETCH(QByteArray, function);
        QFETCH(QByteArray, args);
        QFETCH(QString, status);
        m_tab->show(Json::array({Json::parse(row.toStdString())}));
        m_tab->table()->selectRow(0);
        const DialogRobot robot({AgentAnswers::saveName(u" 新 name\u2028 "_s)});
        const QString said = m_tab->statusBeforeRefresh(Json::array(), [this] { press("Adopt / Rename"); });
        verifyCalls({{function.toStdString(), Json::parse(args.toStdString())}});
        QCOMPARE(said, status);
        QCOMPARE(m_tab->refreshes(), 2);
    }

    void aBlankNameDoesNothing_data()
    {
        const Cases<QByteArray, QString> add("origin", "name");
        add("no name for a managed agent", "managed", {});
        add("no name for a discovered agent", "discovered", {});
        add("nothing but white space", "discovered", u" \t\u00a0\u3000"_s);
    }

    void aBlankNameDoesNothing()
    {
        QFETCH(QByteArray, origin);
        QFETCH(QString, name);
        m_tab->show(Json::array({agentRow("codex", "a", origin.toStdString())}));
        m_tab->table()->selectRow(0);
        const DialogRobot robot({AgentAnswers::saveName(name)});
        press("Adopt / Rename");
        QCOMPARE(robot.shown().size(), 1U); // and no message
        verifyCalls({});
        QCOMPARE(m_tab->refreshes(), 1);
    }

    void configureRunsForOpenclaw_data()
    {
        const Cases<QByteArray> add("ecosystem");
        add("in small letters", "openclaw");
        add("in any letters", "OpenCLAW");
    }

    void configureRunsForOpenclaw()
    {
        QFETCH(QByteArray, ecosystem);
        m_tab->show(Json::array({agentRow(ecosystem.toStdString(), "a")}));
        m_tab->table()->selectRow(0);
        const DialogRobot robot;
        press("Run Configure");
        verifyCalls({{"launch_openclaw_configure_interactive", Json::array()}});
        QCOMPARE(m_tab->status(), u"Launched openclaw configure."_s);
        QCOMPARE(m_tab->refreshes(), 1);
        QVERIFY(robot.shown().empty());
    }

    void configureIsForOpenclawOnly_data()
    {
        const Cases<QByteArray> add("row");
        add("not for codex", R"({"ecosystem":"codex"})");
        add("not without an ecosystem", "{}");
        add("not with a blank", R"({"ecosystem":"openclaw "})");
    }

    void configureIsForOpenclawOnly()
    {
        QFETCH(QByteArray, row);
        m_tab->show(Json::array({Json::parse(row.toStdString())}));
        m_tab->table()->selectRow(0);
        const DialogRobot robot({DialogRobot::press(u"OK"_s)});
        press("Run Configure");
        QCOMPARE(robot.titles(), QStringList{u"Unsupported"_s});
        QCOMPARE(robot.shown().at(0).text, u"Only openclaw configure is supported right now."_s);
        verifyCalls({});
    }

    void deleteAsksAndDeletesWithTheWorkspace()
    {
        m_tab->show(Json::array({agentRow("kimi", "other"), agentRow("codex", "a")}));
        m_tab->table()->selectRow(1);
        const DialogRobot robot({DialogRobot::press(u"Delete"_s)});
        const QString said =
            m_tab->statusBeforeRefresh(Json::array({agentRow("kimi", "other")}), [this] { press("Delete"); });
        QCOMPARE(robot.titles(), QStringList{u"Delete Agent"_s});
        QCOMPARE(robot.shown().at(0).text, u"Delete codex/a and remove its workspace?"_s);
        QCOMPARE(robot.shown().at(0).buttons, QStringList({u"Cancel"_s, u"Delete"_s}));
        QCOMPARE(robot.shown().at(0).defaultButton, u"Delete"_s);
        verifyCalls({{"delete_local_agent", {"codex", "a", true}}});
        QCOMPARE(said, u"Deleted codex/a"_s);
        QCOMPARE(m_tab->table()->model()->rowCount(), 1);
        QVERIFY(!m_tab->table()->selectedRow());
    }

    void aDiscoveredAgentCannotBeDeleted_data()
    {
        const Cases<QByteArray> add("row");
        add("discovered", R"({"ecosystem":"codex","id":"a","origin":"discovered"})");
        add("without an origin", R"({"ecosystem":"codex","id":"a"})");
        add("managed in other letters", R"({"ecosystem":"codex","id":"a","origin":"Managed"})");
    }

    void aDiscoveredAgentCannotBeDeleted()
    {
        QFETCH(QByteArray, row);
        m_tab->show(Json::array({Json::parse(row.toStdString())}));
        m_tab->table()->selectRow(0);
        const DialogRobot robot({DialogRobot::press(u"OK"_s)});
        press("Delete");
        QCOMPARE(robot.titles(), QStringList{u"Cannot Delete"_s});
        QCOMPARE(robot.shown().at(0).text, u"Discovered agents must be removed from their runtime first."_s);
        verifyCalls({});
    }

    void anAgentThatIsCreatedAnewMeanwhileStaysListed()
    {
        m_tab->show(Json::array({agentRow("codex", "a")}));
        m_tab->table()->selectRow(0);
        m_tab->answer(Json::array({agentRow("kimi", "b"), agentRow("codex", "a", "discovered")}));
        const DialogRobot robot({DialogRobot::press(u"Delete"_s)});
        press("Delete");
        QCOMPARE(m_tab->table()->model()->rowCount(), 2);
        QCOMPARE(m_tab->table()->selectedRow(), std::optional(agentRow("codex", "a", "discovered")));
        QCOMPARE(robot.shown().size(), 1U);
    }

private:
    void verifyCalls(const Calls& expected) const { QVERIFY(m_tab->actions() == expected); }
    void press(const char* button) const { m_tab->press(QString::fromLatin1(button)); }

    std::optional<AgentsTab> m_tab;
};

QTEST_MAIN(TestAgentActions)
#include "TestAgentActions.moc"
