#include "skills/core/SkillReports.h"

#include "backend/BackendReply.h"
#include "skills/core/SkillTexts.h"

#include <array>

namespace {

/// A restart that an installation may need.
struct Restart
{
    const char* name;
    const char* methodKey;
    const char* successKey;
};

constexpr std::array restarts{
    Restart{"Restart: ", "restartMethod", "restartSucceeded"},
    Restart{"Gateway: ", "gatewayRestartMethod", "gatewayRestartSucceeded"},
};

bool wasAttempted(const Restart& restart, const Json& result)
{
    return !textOf(result, restart.methodKey).isEmpty();
}

QString describe(const Restart& restart, const Json& result)
{
    const QString name = QString::fromLatin1(restart.name);
    if (!wasAttempted(restart, result))
        return name + QStringLiteral("not attempted");
    return name + textOf(result, restart.methodKey)
           + (isTrue(result, restart.successKey) ? QStringLiteral(" (ok)") : QStringLiteral(" (check)"));
}

} // namespace

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

QString installStatus(const QString& subject, const Json& result)
{
    QString status =
        QStringLiteral("Installed ") + subject + QStringLiteral(" to ") + textOf(result, "targetDir") + u'.';
    for (const Restart& restart : restarts) {
        if (wasAttempted(restart, result))
            status += u' ' + describe(restart, result);
    }
    return status;
}

QString installSummary(const Json& result)
{
    QString summary = QStringLiteral("Target: ") + textOf(result, "targetDir");
    for (const Restart& restart : restarts)
        summary += u'\n' + describe(restart, result);
    return summary;
}
