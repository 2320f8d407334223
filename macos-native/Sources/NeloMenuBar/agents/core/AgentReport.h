#pragma once

#include "base/Json.h"

#include <vector>

class BackendReply;

/// What the Agents tab shows of a reply of "sync_local_agents_to_core".
struct AgentReport
{
    /// The agents, in the backend's order.
    std::vector<Json> rows;
    /// How many there are, in all and in each ecosystem.
    QString summary;
    /// One line on how the refresh went.
    QString status;
};

/// Never fails: an error gives an empty list and says so; a reply of another shape gives an empty list.
AgentReport agentReport(const BackendReply& reply);
