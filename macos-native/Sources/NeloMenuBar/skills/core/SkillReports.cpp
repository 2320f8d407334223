#include "skills/core/SkillReports.h"

#include "backend/BackendReply.h"
#include "skills/core/SkillTexts.h"

SkillsReport skillsReport(const BackendReply& reply, const QString& ecosystem)
{
    std::vector<Json> rows = reply.rows();
    const QString loaded = QStringLiteral("Loaded %1 skills for %2.").arg(QString::number(rows.size()), ecosystem);
    return {std::move(rows), reply.isError() ? reply.text() : loaded};
}

AdapterReport adapterReport(const BackendReply& reply)
{
    const Json snapshot = reply.object();
    const QStringList folders = textsOf(snapshot, "skillDirs");
    const QString folderList = folders.isEmpty() ? QStringLiteral("(none)") : folders.join(QStringLiteral(" | "));
    return {QStringLiteral("Config: ") + textOf(snapshot, "configPath"), QStringLiteral("Skill dirs: ") + folderList};
}

AgentsReport agentsReport(const BackendReply& reply, const QString& ecosystem)
{
    AgentsReport report{agentsOf(reply.rows(), ecosystem), {}};
    for (const Json& agent : report.agents)
        report.titles.append(localAgentTitle(agent));
    if (report.titles.isEmpty())
        report.titles.append(reply.isError() ? QStringLiteral("(load failed)") : QStringLiteral("(none)"));
    return report;
}
