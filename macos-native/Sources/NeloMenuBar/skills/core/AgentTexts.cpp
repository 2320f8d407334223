#include "skills/core/AgentTexts.h"

std::vector<Json> agentsOf(std::vector<Json> agents, const QString& ecosystem)
{
    std::erase_if(agents, [&ecosystem](const Json& agent) { return textOf(agent, "ecosystem") != ecosystem; });
    return agents;
}

QString localAgentTitle(const Json& agent)
{
    const QString id = textOf(agent, "id");
    return textOf(agent, "name", id) + QStringLiteral(" (") + id + u')';
}

QString coreAgentName(const Json& agent)
{
    return textOf(agent, "agentId", textOf(agent, "id"));
}

QString coreAgentTitle(const Json& agent)
{
    const QString state = textOf(agent, "state", textOf(agent, "status"));
    return coreAgentName(agent) + QStringLiteral(" (") + state + QStringLiteral(") - ") + textOf(agent, "workspace");
}
