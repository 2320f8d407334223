#pragma once

#include "base/Json.h"

#include <vector>

/// Returns what the list of skills shows for a skill: its source, if it has one, and its name.
QString skillTitle(const Json& skill);

/// Returns the name of a skill, or its key when it has no name.
QString skillName(const Json& skill);

/// Returns the description of a skill in several lines: the text, the key, the path and the variables that it requires.
/// There is no line for the variables when it requires none.
QString skillDescription(const Json& skill);

/// Returns the name of a skill of the cloud catalogue, or its key when it has no name.
QString cloudSkillName(const Json& skill);

/// Returns the title of a skill of the cloud catalogue: its name, and its version and its description if it has them.
QString cloudSkillTitle(const Json& skill);

/// Returns those of `agents` whose ecosystem is exactly `ecosystem`, in their order.
std::vector<Json> agentsOf(std::vector<Json> agents, const QString& ecosystem);

/// Returns the title of an agent on this machine: its name, or its id when it has no name, and then its id.
QString localAgentTitle(const Json& agent);

/// Returns the name of an agent that Nelo Core reports: its "agentId", or its "id" when it has no "agentId".
QString coreAgentName(const Json& agent);

/// Returns the title of an agent that Nelo Core reports: its name, its state and its workspace.
QString coreAgentTitle(const Json& agent);
