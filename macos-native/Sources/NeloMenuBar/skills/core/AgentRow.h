#pragma once

#include "base/Json.h"

#include <vector>

/// The `agents` of `ecosystem`, which is compared to the letter, in their order.
std::vector<Json> agentsOf(std::vector<Json> agents, const QString& ecosystem);

/// How the choice of agents on this machine calls one: by its name, or else its id, and its id.
QString localAgentTitle(const Json& agent);

/// What an agent that Nelo Core reports is called: by its own id there, or by that of its record.
QString coreAgentName(const Json& agent);

/// What the choice of such agents shows of one: its name, its state and its workspace.
QString coreAgentTitle(const Json& agent);
