#pragma once

#include "base/Json.h"

#include <vector>

/// Returns those of `agents` whose ecosystem is exactly `ecosystem`, in their order.
std::vector<Json> agentsOf(std::vector<Json> agents, const QString& ecosystem);

/// Returns the title of an agent on this machine: its name, or else its id, and its id.
QString localAgentTitle(const Json& agent);

/// Returns the name of an agent that Nelo Core reports: its own id there, or else that of its record.
QString coreAgentName(const Json& agent);

/// Returns the title of an agent that Nelo Core reports: its name, its state and its workspace.
QString coreAgentTitle(const Json& agent);
