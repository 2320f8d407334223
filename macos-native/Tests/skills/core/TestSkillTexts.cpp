#include "skills/core/NewsSource.h"
#include "skills/core/SkillTexts.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

using Title = QString (*)(const Json& row);

Q_DECLARE_METATYPE(Title)

/// What pop-ups show of agents, cloud skills and news sources.
class TestSkillTexts final : public TestCase
{
    Q_OBJECT

private slots:
    void titles()
    {
        const CaseTable<Title, const char*, const char*> cases{
            {"an agent's name and id", localAgentTitle, "{\"id\":\"a\",\"name\":\"Main 主\"}", "Main 主 (a)"},
            {"an agent without a name shows its id twice", localAgentTitle, R"({"id":"a"})", "a (a)"},
            {"an agent's empty name is one", localAgentTitle, R"({"id":"a","name":""})", " (a)"},
            {"an agent with nothing", localAgentTitle, "{}", " ()"},
            {"an agent of other types", localAgentTitle, R"({"id":7,"name":true})", "1 (7)"},
            {"a cloud skill's name alone", cloudSkillTitle, R"({"name":"n","key":"k","version":"","description":""})",
             "n"},
            {"a cloud skill without a name", cloudSkillTitle, R"({"key":"k"})", "k"},
            {"a cloud skill's version", cloudSkillTitle, R"({"name":"n","version":"1.2"})", "n v1.2"},
            {"a cloud skill's description", cloudSkillTitle, R"({"name":"n","description":"d"})", "n - d"},
            {"a cloud skill with all", cloudSkillTitle, R"({"name":"n","version":2,"description":"d"})", "n v2 - d"},
            {"a cloud skill with nothing", cloudSkillTitle, "{}", ""},
            {"a cloud skill is called by its name", cloudSkillName, R"({"name":"n","key":"k"})", "n"},
            {"a cloud skill is called by its key", cloudSkillName, R"({"key":"k"})", "k"},
            {"an agent of Core", coreAgentTitle,
             R"({"agentId":"main","id":"1","state":"online","status":"x","workspace":"/w"})", "main (online) - /w"},
            {"an agent of Core by its other names", coreAgentTitle, R"({"id":"1","status":"idle"})", "1 (idle) - "},
            {"an agent of Core with nothing", coreAgentTitle, "{}", " () - "},
            {"an agent of Core is called by its agent id", coreAgentName, R"({"agentId":"main","id":"1"})", "main"},
            {"an agent of Core is called by its id", coreAgentName, R"({"id":"1"})", "1"},
            {"a source", newsSourceTitle, R"({"bucket":"b","name":"n","type":"rss","id":"i","enabled":true})",
             "[b] n (rss) id=i enabled=1"},
            {"a source that is off", newsSourceTitle, R"({"bucket":"b","enabled":false})", "[b]  () id= enabled=0"},
            {"a source without a bucket", newsSourceTitle, R"({"name":"n","type":"x","id":"i"})",
             "[] n (x) id=i enabled="},
        };
        for (const auto& [titleOf, row, title] : cases) {
            QCOMPARE(titleOf(Json::parse(row)), QString::fromUtf8(title));
        }
    }

    void onlyAgentsOfExactlyThisEcosystemAreListed()
    {
        const Json rows = Json::parse(R"([{"id":1,"ecosystem":"openclaw"},{"id":2,"ecosystem":"OpenClaw"},{"id":3},
                                      {"id":4,"ecosystem":["openclaw"]},{"id":5,"ecosystem":"openclaw "},
                                      {"id":6,"ecosystem":"codex"},{"id":7,"ecosystem":"openclaw"}])");
        const std::vector<Json> agents = agentsOf({rows.begin(), rows.end()}, u"openclaw"_s);
        QCOMPARE(agents.size(), std::size_t(2));
        QVERIFY(agents[0]["id"] == 1);
        QVERIFY(agents[1]["id"] == 7);
    }

    void aCountOfOneIsAPluralToo()
    {
        QCOMPARE(newsSourceSummary(0), u"0 sources."_s);
        QCOMPARE(newsSourceSummary(1), u"1 sources."_s);
    }
};

QTEST_GUILESS_MAIN(TestSkillTexts)
#include "TestSkillTexts.moc"
