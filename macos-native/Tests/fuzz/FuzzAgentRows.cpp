#include "agents/core/Agent.h"
#include "agents/core/AgentReport.h"
#include "fuzz/HelperLine.h"
#include "fuzz/Invariant.h"
#include "skills/core/SkillTexts.h"

#include <QSet>

namespace {

void requireTextsAreTheRows(const Json& row)
{
    const Agent agent = agentOf(row);
    require(agent.label() == agent.ecosystem + u'/' + agent.id, "a label is ecosystem and id");
    require(row.contains("name") || agent.name == agent.id, "an agent without a name is called by its id");
    require(localAgentTitle(row) == agent.name + QStringLiteral(" (") + agent.id + u')', "a title is name and id");
    require(coreAgentTitle(row).startsWith(coreAgentName(row)), "a title at the Core begins with the name there");
    require(coreAgentTitle(row).endsWith(agent.workspace), "a title at the Core ends in the workspace");
}

void requireEcosystemsPartTheRows(const std::vector<Json>& rows)
{
    QSet<QString> ecosystems;
    for (const Json& row : rows)
        ecosystems.insert(textOf(row, "ecosystem"));
    std::size_t count = 0;
    for (const QString& ecosystem : std::as_const(ecosystems))
        count += agentsOf(rows, ecosystem).size();
    require(count == rows.size(), "each agent belongs to one ecosystem");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const BackendReply reply = replyToLine(bytesOf(data, size));
    const AgentReport report = agentReport(reply);
    require(report.summary.startsWith(QStringLiteral("Total: %1").arg(report.rows.size())),
            "the summary has the count");
    require(!reply.isError() || (report.rows.empty() && report.status == reply.text()), "an error is told as it came");
    for (const Json& row : report.rows)
        requireTextsAreTheRows(row);
    requireEcosystemsPartTheRows(report.rows);
    return 0;
}
