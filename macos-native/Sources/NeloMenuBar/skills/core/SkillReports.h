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

/// What the pop-up of agents offers after a reply of "list_local_agents". The titles are those of the agents, in their
/// order, or one that says why there are none.
struct AgentsReport
{
    std::vector<Json> agents;
    QStringList titles;
};

/// None of these fails: an error and a reply of another shape give an empty list, and the texts say so.
SkillsReport skillsReport(const BackendReply& reply, const QString& ecosystem);
AdapterReport adapterReport(const BackendReply& reply);
AgentsReport agentsReport(const BackendReply& reply, const QString& ecosystem);
