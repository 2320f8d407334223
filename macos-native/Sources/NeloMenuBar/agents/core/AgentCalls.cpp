#include "agents/core/AgentCalls.h"

#include "agents/core/Agent.h"

BackendCall callToAdd(const NewAgent& agent)
{
    return {"add_local_agent", {agent.ecosystem, agent.id, agent.name, agent.workspace}};
}

BackendCall callToName(const Agent& agent, const QString& newName)
{
    if (agent.isManaged())
        return {"rename_local_agent", {agent.ecosystem, agent.id, newName}};
    return {"adopt_local_agent", {agent.ecosystem, agent.id, newName, agent.workspace}};
}

BackendCall callToDelete(const Agent& agent)
{
    constexpr bool withWorkspace = true;
    return {"delete_local_agent", {agent.ecosystem, agent.id, withWorkspace}};
}
