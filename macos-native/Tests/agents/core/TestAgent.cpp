#include "agents/core/Agent.h"

#include "base/Ecosystem.h"
#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// What the actions make of a row and of what was entered.
class TestAgent final : public TestCase
{
    Q_OBJECT

private slots:
    void aRowIsReadByItsKeys()
    {
        const CaseTable<std::string, QStringList> cases{
            // ecosystem, id, name, origin, workspace
            {"all of them",
             R"({"id":"a","name":"n","ecosystem":"codex","origin":"managed","workspace":"/w"})",
             {u"codex"_s, u"a"_s, u"n"_s, u"managed"_s, u"/w"_s}},
            {"none of them", "{}", {{}, {}, {}, {}, {}}},
            {"an agent without a name is called by its id", R"({"id":"a"})", {{}, u"a"_s, u"a"_s, {}, {}}},
            {"an empty name is a name", R"({"id":"a","name":""})", {{}, u"a"_s, {}, {}, {}}},
            {"other kinds by their text",
             R"({"id":1,"name":null,"ecosystem":[],"origin":true,"workspace":1.5})",
             {u"[]"_s, u"1"_s, u"<null>"_s, u"1"_s, u"1.5"_s}},
            {"line feeds and marks as they stand",
             "{\"id\":\"a\\nb\",\"name\":\"\\u202e<b>\"}",
             {{}, u"a\nb"_s, u"\u202e<b>"_s, {}, {}}},
        };
        for (const auto& [row, texts] : cases) {
            const Agent agent = agentOf(Json::parse(row));
            QCOMPARE(QStringList({agent.ecosystem, agent.id, agent.name, agent.origin, agent.workspace}), texts);
            QCOMPARE(agent.label(), texts.at(0) + u'/' + texts.at(1));
        }
    }

    void onlyManagedIsManaged()
    {
        QVERIFY(agentOf({{"origin", "managed"}}).isManaged());
        for (const char* other : {"Managed", "managed ", "discovered"})
            QVERIFY2(!agentOf({{"origin", other}}).isManaged(), other);
        QVERIFY(!agentOf(Json::object()).isManaged());
    }

    void pathsFollowTheEcosystem()
    {
        const QString home = u"/home/我"_s;
        const auto paths = [&home](const QString& ecosystem) {
            return Ecosystem::configPath(ecosystem, home) + u' ' + Ecosystem::workspacePath(ecosystem, u"x-1"_s, home);
        };
        QCOMPARE(paths(u"codex"_s), u"/home/我/.codex/config.json /home/我/.codex/agents/x-1"_s);
        QCOMPARE(paths(u"kimi"_s), u"/home/我/.kimi/config.json /home/我/.kimi/agents/x-1"_s);
        for (const QString& other : {u"openclaw"_s, QString(), u"unknown"_s, u"Codex"_s})
            QCOMPARE(paths(other), u"/home/我/.openclaw/openclaw.json /home/我/.openclaw/agents/x-1"_s);
    }

    void aNewAgentIsNamedAfterWhatWasEntered()
    {
        const QString standIn = u"kimi 20250101-093000"_s;
        const CaseTable<QString, QString> cases{
            {"as entered", u"My agent"_s, u"My agent"_s},
            {"without white space around it", u" \n\t助手\u2028 "_s, u"助手"_s},
            {"after its ecosystem when nothing was entered", {}, standIn},
            {"after its ecosystem when only blanks were", u" \t\n"_s, standIn},
            {"after another ecosystem when that was left there", u"openclaw 20250101-093000"_s,
             u"openclaw 20250101-093000"_s},
        };
        for (const auto& [entered, name] : cases) {
            const NewAgent agent = newAgent(u"kimi"_s, entered, u"20250101-093000"_s, u"/home/me"_s);
            QCOMPARE(agent.ecosystem, u"kimi"_s);
            QCOMPARE(agent.id, u"kimi-20250101-093000"_s);
            QCOMPARE(agent.name, name);
            QCOMPARE(agent.workspace, u"/home/me/.kimi/agents/kimi-20250101-093000"_s);
        }
    }
};

QTEST_GUILESS_MAIN(TestAgent)
#include "TestAgent.moc"
