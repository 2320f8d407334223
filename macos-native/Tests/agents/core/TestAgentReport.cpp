#include "agents/core/AgentReport.h"

#include "backend/BackendReply.h"
#include "support/Cases.h"
#include "support/Warnings.h"

#include <QTest>

using namespace Qt::StringLiterals;

/// What the tab shows of the agent registry.
class TestAgentReport final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void agentsAreCountedByEcosystem_data()
    {
        const Cases<QByteArray, QString> add("reply", "summary");
        add("none at all", "[]", u"Total: 0"_s);
        add("two and one", QByteArray(R"([{"ecosystem":"openclaw"},{"ecosystem":"codex"},{"ecosystem":"openclaw"}])"),
            u"Total: 3 (codex:1, openclaw:2)"_s);
        add("all ecosystems in plain order",
            R"([{},{"ecosystem":"openclaw"},{"ecosystem":"kimi"},{"ecosystem":"codex"}])",
            u"Total: 4 (codex:1, kimi:1, openclaw:1, unknown:1)"_s);
        add("capitals before small letters, and apart from them",
            R"([{"ecosystem":"codex"},{"ecosystem":"Codex"},{"ecosystem":"b"}])",
            u"Total: 3 (Codex:1, b:1, codex:1)"_s);
        add("a missing ecosystem together with one of that name", R"([{},{"ecosystem":"unknown"}])",
            u"Total: 2 (unknown:2)"_s);
        add("an empty one under its empty name", R"([{"ecosystem":""}])", u"Total: 1 (:1)"_s);
        add("values of other kinds by their text",
            R"([{"ecosystem":7},{"ecosystem":null},{"ecosystem":["a"]},{"ecosystem":true}])",
            u"Total: 4 (1:1, 7:1, <null>:1, [\"a\"]:1)"_s);
        add("markup and Chinese as they stand", "[{\"ecosystem\":\"<b>代理</b>\"}]", u"Total: 1 (<b>代理</b>:1)"_s);
    }

    void agentsAreCountedByEcosystem()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QString, summary);
        const AgentReport report = agentReport(BackendReply(reply.toStdString()));
        QCOMPARE(report.summary, summary);
        QCOMPARE(report.status, u"Synced local discovery to Core and loaded Core agent registry."_s);
    }

    void rowsComeAsTheyAre()
    {
        const std::string reply = R"([{"z":1.0,"id":"b","more":{"x":[null]}},{"id":"a"},{}])";
        QCOMPARE(Json(agentReport(BackendReply(reply)).rows).dump(), reply);
    }

    void whatIsNoListOfObjectsIsEmptyAndNoFailure_data()
    {
        const Cases<QByteArray> add("reply");
        add("not JSON", "Traceback (most recent call last):");
        add("nothing", "");
        add("null", "null");
        add("an object", R"({"id":"a"})");
        add("a list of numbers", "[1,2]");
        add("a list with one row that is none", R"([{"id":"a"},"b"])");
        add("a list of lists", R"([[{"id":"a"}]])");
        add("a list cut in half", R"([{"id":"a"},{"id":)");
        add("not UTF-8", "[{\"id\":\"\xe9\"}]");
    }

    void whatIsNoListOfObjectsIsEmptyAndNoFailure()
    {
        QFETCH(QByteArray, reply);
        const AgentReport report = agentReport(BackendReply(reply.toStdString()));
        QVERIFY(report.rows.empty());
        QCOMPARE(report.summary, u"Total: 0"_s);
        QCOMPARE(report.status, u"Synced local discovery to Core and loaded Core agent registry."_s);
    }

    void anErrorIsToldInFull()
    {
        const AgentReport report = agentReport(BackendReply("ERROR: OSError: 磁盘 <full>"));
        QVERIFY(report.rows.empty());
        QCOMPARE(report.summary, u"Total: 0"_s);
        QCOMPARE(report.status, u"ERROR: OSError: 磁盘 <full>"_s);
    }

    void tenThousandAgentsAreCounted()
    {
        const Json rows(10'000, {{"ecosystem", "kimi"}});
        const AgentReport report = agentReport(BackendReply(rows.dump()));
        QCOMPARE(report.rows.size(), 10'000U);
        QCOMPARE(report.summary, u"Total: 10000 (kimi:10000)"_s);
    }
};

QTEST_GUILESS_MAIN(TestAgentReport)
#include "TestAgentReport.moc"
