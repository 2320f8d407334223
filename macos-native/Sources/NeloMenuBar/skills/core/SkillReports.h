#pragma once

#include "base/Json.h"

#include <vector>

class BackendReply;

/// What the Skills tab shows of a reply of "list_skills".
struct SkillsReport
{
    std::vector<Json> rows;
    QString status;
};

/// What the Skills tab shows of a reply of "get_adapter_snapshot".
struct AdapterReport
{
    QString configPath;
    QString skillFolders;
};

/// What the pop-up of agents offers after a reply of "list_local_agents". There is a title for each agent, in their
/// order. Without agents there is one title that says why.
struct AgentsReport
{
    std::vector<Json> agents;
    QStringList titles;
};

/// These never fail. For an error or a reply of another shape the list is empty, and the texts say so.
SkillsReport skillsReport(const BackendReply& reply, const QString& ecosystem);
AdapterReport adapterReport(const BackendReply& reply);
AgentsReport agentsReport(const BackendReply& reply, const QString& ecosystem);

/// Returns the status line after an installation. `subject` is for example "skill", `result` the backend's reply. The
/// line tells the folder and the result of each restart that was attempted.
QString installStatus(const QString& subject, const Json& result);

/// Returns the text of the alert after an installation, in three lines: the folder, the runtime's restart, and the
/// gateway's restart.
QString installSummary(const Json& result);
