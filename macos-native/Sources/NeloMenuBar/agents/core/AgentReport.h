#pragma once

#include "base/Json.h"

#include <vector>

class BackendReply;

/// What the Agents tab shows of a reply of "sync_local_agents_to_core".
struct AgentReport
{
    /// The agents, in the backend's order.
    std::vector<Json> rows;
    /// The number of agents in all and in each ecosystem.
    QString summary;
    /// One line about the refresh.
    QString status;
};

/// Never fails. For an error the list is empty and the status is the error. For a reply of another shape the list is
/// empty.
AgentReport agentReport(const BackendReply& reply);
