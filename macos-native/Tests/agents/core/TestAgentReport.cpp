#include "agents/core/AgentReport.h"

#include "backend/BackendReply.h"
#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// What the tab shows of the agent registry.
class TestAgentReport final : public TestCase
{
    Q_OBJECT

private slots:
    void agentsAreCountedByEcosystem()
    {
        const CaseTable<std::string, QString> cases{
            {"none at all", "[]", u"Total: 0"_s},
            {"two and one", R"([{"ecosystem":"openclaw"},{"ecosystem":"codex"},{"ecosystem":"openclaw"}])",
             u"Total: 3 (codex:1, openclaw:2)"_s},
            {"all ecosystems in plain order",
             R"([{},{"ecosystem":"openclaw"},{"ecosystem":"kimi"},{"ecosystem":"codex"}])",
             u"Total: 4 (codex:1, kimi:1, openclaw:1, unknown:1)"_s},
            {"capitals before small letters, and apart from them",
             R"([{"ecosystem":"codex"},{"ecosystem":"Codex"},{"ecosystem":"b"}])",
             u"Total: 3 (Codex:1, b:1, codex:1)"_s},
            {"a missing ecosystem together with one of that name", R"([{},{"ecosystem":"unknown"}])",
             u"Total: 2 (unknown:2)"_s},
            {"an empty one under its empty name", R"([{"ecosystem":""}])", u"Total: 1 (:1)"_s},
            {"values of other kinds by their text",
             R"([{"ecosystem":7},{"ecosystem":null},{"ecosystem":["a"]},{"ecosystem":true}])",
             u"Total: 4 (1:1, 7:1, <null>:1, [\"a\"]:1)"_s},
            {"markup and Chinese as they stand", "[{\"ecosystem\":\"<b>代理</b>\"}]", u"Total: 1 (<b>代理</b>:1)"_s},
        };
        for (const auto& [reply, summary] : cases) {
            const AgentReport report = agentReport(BackendReply(reply));
            QCOMPARE(report.summary, summary);
            QCOMPARE(report.status, u"Synced local discovery to Core and loaded Core agent registry."_s);
        }
    }

    void rowsComeAsTheyAre()
    {
        const std::string reply = R"([{"z":1.0,"id":"b","more":{"x":[null]}},{"id":"a"},{}])";
        QCOMPARE(Json(agentReport(BackendReply(reply)).rows).dump(), reply);
    }

    void whatIsNoListOfObjectsIsEmptyAndNoFailure()
    {
        for (const char* reply :
             {"Traceback (most recent call last):", "", "null", R"({"id":"a"})", "[1,2]", R"([{"id":"a"},"b"])",
              R"([[{"id":"a"}]])", R"([{"id":"a"},{"id":)", "[{\"id\":\"\xe9\"}]"}) {
            const AgentReport report = agentReport(BackendReply(reply));
            QVERIFY2(report.rows.empty(), reply);
            QCOMPARE(report.summary, u"Total: 0"_s);
            QCOMPARE(report.status, u"Synced local discovery to Core and loaded Core agent registry."_s);
        }
    }

    void anErrorIsToldInFull()
    {
        const AgentReport report = agentReport(BackendReply("ERROR: OSError: 磁盘 <full>"));
        QVERIFY(report.rows.empty());
        QCOMPARE(report.summary, u"Total: 0"_s);
        QCOMPARE(report.status, u"ERROR: OSError: 磁盘 <full>"_s);
    }
};

QTEST_GUILESS_MAIN(TestAgentReport)
#include "TestAgentReport.moc"
