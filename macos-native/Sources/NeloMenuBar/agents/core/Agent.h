#pragma once

#include "base/Json.h"

/// An agent as the actions see it: the texts of its row, empty where the row has none.
struct Agent
{
    QString ecosystem;
    QString id;
    /// The id when the row has no name.
    QString name;
    QString origin;
    QString workspace;

    /// Whether it was created or adopted here; any other was discovered in its ecosystem's own runtime.
    bool isManaged() const;
    /// How texts call it: ecosystem, slash, id.
    QString label() const;
};

/// The agent that a row of the registry, an object, is about. A value that is no text stands as its description.
Agent agentOf(const Json& row);

/// An agent that is to be created.
struct NewAgent
{
    QString ecosystem;
    QString id;
    QString name;
    QString workspace;
};

/// The agent to create for the chosen `ecosystem` and the name that was `entered`: without a name of its own it is
/// called by its ecosystem and `stamp`, the local time as "yyyyMMdd-HHmmss", which also makes its id.
NewAgent newAgent(const QString& ecosystem, const QString& entered, const QString& stamp, const QString& home);
