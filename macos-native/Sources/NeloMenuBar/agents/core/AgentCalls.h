#pragma once

#include "base/Json.h"

#include <string>
#include <vector>

struct Agent;
struct NewAgent;

/// A call of a backend function, to be made.
struct BackendCall
{
    std::string function;
    std::vector<Json> args;
};

/// Creates a managed agent: its record and its workspace.
BackendCall callToAdd(const NewAgent& agent);

/// Renames a managed agent; a discovered one is adopted under the new name, with the workspace it was found with.
BackendCall callToName(const Agent& agent, const QString& newName);

/// Deletes the agent and its workspace.
BackendCall callToDelete(const Agent& agent);
