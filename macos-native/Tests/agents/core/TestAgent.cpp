#include "agents/core/Agent.h"

#include "base/Ecosystem.h"
#include "support/Cases.h"
#include "support/Warnings.h"

#include <QTest>

using namespace Qt::StringLiterals;

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
                                     << QStringList{u"codex"_s, u"a"_s, u"n"_s, u"managed"_s, u"/w"_s};
        QTest::newRow("none of them") << "{}"_ba << QStringList{{}, {}, {}, {}, {}};
        QTest::newRow("an agent without a name is called by its id")
            << QByteArray(R"({"id":"a"})") << QStringList{{}, u"a"_s, u"a"_s, {}, {}};
        QTest::newRow("an empty name is a name")
            << QByteArray(R"({"id":"a","name":""})") << QStringList{{}, u"a"_s, {}, {}, {}};
        QTest::newRow("other kinds by their text")
            << QByteArray(R"({"id":1,"name":null,"ecosystem":[],"origin":true,"workspace":1.5})")
            << QStringList{u"[]"_s, u"1"_s, u"<null>"_s, u"1"_s, u"1.5"_s};
        QTest::newRow("line feeds and marks as they stand") << QByteArray("{\"id\":\"a\\nb\",\"name\":\"\\u202e<b>\"}")
                                                            << QStringList{{}, u"a\nb"_s, u"\u202e<b>"_s, {}, {}};
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
        const Cases<QByteArray, bool> add("row", "isManaged");
        add("managed", R"({"origin":"managed"})", true);
        add("with a capital it is not", R"({"origin":"Managed"})", false);
        add("with a blank it is not", R"({"origin":"managed "})", false);
        add("discovered", R"({"origin":"discovered"})", false);
        add("without an origin", "{}", false);
    }

    void onlyManagedIsManaged()
    {
        QFETCH(QByteArray, row);
        QFETCH(bool, isManaged);
        QCOMPARE(agentOf(Json::parse(row.toStdString())).isManaged(), isManaged);
    }

    void pathsFollowTheEcosystem_data()
    {
        const Cases<QString, QString, QString> add("ecosystem", "config", "workspace");

        const QString openclawConfig = u"/home/我/.openclaw/openclaw.json"_s;
        const QString openclawWorkspace = u"/home/我/.openclaw/agents/x-1"_s;
        add("codex", u"codex"_s, u"/home/我/.codex/config.json"_s, u"/home/我/.codex/agents/x-1"_s);
        add("kimi", u"kimi"_s, u"/home/我/.kimi/config.json"_s, u"/home/我/.kimi/agents/x-1"_s);
        add("openclaw", u"openclaw"_s, openclawConfig, openclawWorkspace);
        add("nothing counts as openclaw", {}, openclawConfig, openclawWorkspace);
        add("unknown counts as openclaw", u"unknown"_s, openclawConfig, openclawWorkspace);
        add("another case counts as openclaw", u"Codex"_s, openclawConfig, openclawWorkspace);
    }

    void pathsFollowTheEcosystem()
    {
        QFETCH(QString, ecosystem);
        QFETCH(QString, config);
        QFETCH(QString, workspace);
        const QString home = u"/home/我"_s;
        QCOMPARE(Ecosystem::configPath(ecosystem, home), config);
        QCOMPARE(Ecosystem::workspacePath(ecosystem, u"x-1"_s, home), workspace);
    }

    void aNewAgentIsNamedAfterWhatWasEntered_data()
    {
        const Cases<QString, QString> add("entered", "name");

        const QString standIn = u"kimi 20250101-093000"_s;
        add("as entered", u"My agent"_s, u"My agent"_s);
        add("without white space around it", u" \n\t助手\u2028 "_s, u"助手"_s);
        add("after its ecosystem when nothing was entered", {}, standIn);
        add("after its ecosystem when only blanks were", u" \t\n"_s, standIn);
        add("after another ecosystem when that was left there", u"openclaw 20250101-093000"_s,
            u"openclaw 20250101-093000"_s);
    }

    void aNewAgentIsNamedAfterWhatWasEntered()
    {
        QFETCH(QString, entered);
        QFETCH(QString, name);
        const NewAgent agent = newAgent(u"kimi"_s, entered, u"20250101-093000"_s, u"/home/me"_s);
        QCOMPARE(agent.ecosystem, u"kimi"_s);
        QCOMPARE(agent.id, u"kimi-20250101-093000"_s);
        QCOMPARE(agent.name, name);
        QCOMPARE(agent.workspace, u"/home/me/.kimi/agents/kimi-20250101-093000"_s);
    }
};

QTEST_GUILESS_MAIN(TestAgent)
#include "TestAgent.moc"
