#include "agents/core/Agent.h"

#include "agents/core/AgentCalls.h"
#include "base/Ecosystem.h"
#include "support/Warnings.h"

#include <QTest>

/// What the actions make of a row and of what was entered.
class TestAgent final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void aRowIsReadByItsKeys_data()
    {
        QTest::addColumn<QByteArray>("row");
        QTest::addColumn<QStringList>("texts"); // ecosystem, id, name, origin, workspace

        QTest::newRow("all of them") << QByteArray(
            R"({"id":"a","name":"n","ecosystem":"codex","origin":"managed","workspace":"/w"})")
                                     << QStringList{QStringLiteral("codex"), QStringLiteral("a"), QStringLiteral("n"),
                                                    QStringLiteral("managed"), QStringLiteral("/w")};
        QTest::newRow("none of them") << QByteArray("{}") << QStringList{{}, {}, {}, {}, {}};
        QTest::newRow("an agent without a name is called by its id")
            << QByteArray(R"({"id":"a"})") << QStringList{{}, QStringLiteral("a"), QStringLiteral("a"), {}, {}};
        QTest::newRow("an empty name is a name")
            << QByteArray(R"({"id":"a","name":""})") << QStringList{{}, QStringLiteral("a"), {}, {}, {}};
        QTest::newRow("other kinds by their text")
            << QByteArray(R"({"id":1,"name":null,"ecosystem":[],"origin":true,"workspace":1.5})")
            << QStringList{QStringLiteral("[]"), QStringLiteral("1"), QStringLiteral("<null>"), QStringLiteral("1"),
                           QStringLiteral("1.5")};
        QTest::newRow("line feeds and marks as they stand")
            << QByteArray(R"({"id":"a\nb","name":"\u202e<b>"})")
            << QStringList{{}, QStringLiteral("a\nb"), QStringLiteral("\u202e<b>"), {}, {}};
    }

    void aRowIsReadByItsKeys()
    {
        QFETCH(QByteArray, row);
        QFETCH(QStringList, texts);
        const Agent agent = agentOf(Json::parse(row.toStdString()));
        QCOMPARE(QStringList({agent.ecosystem, agent.id, agent.name, agent.origin, agent.workspace}), texts);
        QCOMPARE(agent.label(), texts.at(0) + u'/' + texts.at(1));
    }

    void onlyManagedIsManaged_data()
    {
        QTest::addColumn<QByteArray>("row");
        QTest::addColumn<bool>("isManaged");
        QTest::newRow("managed") << QByteArray(R"({"origin":"managed"})") << true;
        QTest::newRow("with a capital it is not") << QByteArray(R"({"origin":"Managed"})") << false;
        QTest::newRow("with a blank it is not") << QByteArray(R"({"origin":"managed "})") << false;
        QTest::newRow("discovered") << QByteArray(R"({"origin":"discovered"})") << false;
        QTest::newRow("without an origin") << QByteArray("{}") << false;
    }

    void onlyManagedIsManaged()
    {
        QFETCH(QByteArray, row);
        QFETCH(bool, isManaged);
        QCOMPARE(agentOf(Json::parse(row.toStdString())).isManaged(), isManaged);
    }

    void pathsFollowTheEcosystem_data()
    {
        QTest::addColumn<QString>("ecosystem");
        QTest::addColumn<QString>("config");
        QTest::addColumn<QString>("workspace");
        const QString openclawConfig = QStringLiteral("/home/我/.openclaw/openclaw.json");
        const QString openclawWorkspace = QStringLiteral("/home/我/.openclaw/agents/x-1");

        QTest::newRow("codex") << QStringLiteral("codex") << QStringLiteral("/home/我/.codex/config.json")
                               << QStringLiteral("/home/我/.codex/agents/x-1");
        QTest::newRow("kimi") << QStringLiteral("kimi") << QStringLiteral("/home/我/.kimi/config.json")
                              << QStringLiteral("/home/我/.kimi/agents/x-1");
        QTest::newRow("openclaw") << QStringLiteral("openclaw") << openclawConfig << openclawWorkspace;
        QTest::newRow("nothing counts as openclaw") << QString() << openclawConfig << openclawWorkspace;
        QTest::newRow("unknown counts as openclaw") << QStringLiteral("unknown") << openclawConfig << openclawWorkspace;
        QTest::newRow("another case counts as openclaw")
            << QStringLiteral("Codex") << openclawConfig << openclawWorkspace;
    }

    void pathsFollowTheEcosystem()
    {
        QFETCH(QString, ecosystem);
        QFETCH(QString, config);
        QFETCH(QString, workspace);
        const QString home = QStringLiteral("/home/我");
        QCOMPARE(Ecosystem::configPath(ecosystem, home), config);
        QCOMPARE(Ecosystem::workspacePath(ecosystem, QStringLiteral("x-1"), home), workspace);
    }

    void aNewAgentIsNamedAfterWhatWasEntered_data()
    {
        QTest::addColumn<QString>("entered");
        QTest::addColumn<QString>("name");
        const QString standIn = QStringLiteral("kimi 20250101-093000");
        QTest::newRow("as entered") << QStringLiteral("My agent") << QStringLiteral("My agent");
        QTest::newRow("without white space around it") << QStringLiteral(" \n\t助手\u2028 ") << QStringLiteral("助手");
        QTest::newRow("after its ecosystem when nothing was entered") << QString() << standIn;
        QTest::newRow("after its ecosystem when only blanks were") << QStringLiteral(" \t\n") << standIn;
        QTest::newRow("after another ecosystem when that was left there")
            << QStringLiteral("openclaw 20250101-093000") << QStringLiteral("openclaw 20250101-093000");
    }

    void aNewAgentIsNamedAfterWhatWasEntered()
    {
        QFETCH(QString, entered);
        QFETCH(QString, name);
        const NewAgent agent =
            newAgent(QStringLiteral("kimi"), entered, QStringLiteral("20250101-093000"), QStringLiteral("/home/me"));
        QCOMPARE(agent.ecosystem, QStringLiteral("kimi"));
        QCOMPARE(agent.id, QStringLiteral("kimi-20250101-093000"));
        QCOMPARE(agent.name, name);
        QCOMPARE(agent.workspace, QStringLiteral("/home/me/.kimi/agents/kimi-20250101-093000"));
    }

    void theBackendIsAskedInItsOwnWords()
    {
        const auto verify = [](const BackendCall& call, const char* function, const char* args) {
            QCOMPARE(call.function, std::string(function));
            QCOMPARE(Json(call.args).dump(), std::string(args));
        };
        const NewAgent created{QStringLiteral("codex"), QStringLiteral("codex-1"), QStringLiteral("名"),
                               QStringLiteral("/w")};
        verify(callToAdd(created), "add_local_agent", R"(["codex","codex-1","名","/w"])");

        Agent agent{QStringLiteral("kimi"), QStringLiteral("a"), QStringLiteral("old"), QStringLiteral("managed"),
                    QStringLiteral("/w")};
        verify(callToName(agent, QStringLiteral("new")), "rename_local_agent", R"(["kimi","a","new"])");
        verify(callToDelete(agent), "delete_local_agent", R"(["kimi","a",true])");
        agent.origin = QStringLiteral("discovered");
        verify(callToName(agent, QStringLiteral("new")), "adopt_local_agent", R"(["kimi","a","new","/w"])");
        agent.workspace.clear();
        verify(callToName(agent, QStringLiteral("new")), "adopt_local_agent", R"(["kimi","a","new",""])");
    }
};

QTEST_GUILESS_MAIN(TestAgent)
#include "TestAgent.moc"
