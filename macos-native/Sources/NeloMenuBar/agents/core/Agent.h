#pragma once

#include "base/Json.h"

/// An agent, as the actions need it: the texts of its row. A text is empty when the row has none.
struct Agent
{
    QString ecosystem;
    QString id;
    /// The id, when the row has no name.
    QString name;
    QString origin;
    QString workspace;

    /// Returns whether the agent was created or adopted here. Other agents were discovered in their ecosystem's
    /// runtime.
    bool isManaged() const;
    /// Returns the agent's name in messages: ecosystem, slash, id.
    QString label() const;
};

/// Returns the agent of a row of the registry. The row is an object; a value that is no string is described as text.
Agent agentOf(const Json& row);

/// An agent to be created.
struct NewAgent
{
    QString ecosystem;
    QString id;
    QString name;
    QString workspace;
};

/// Returns the agent to create for the chosen `ecosystem` and the `entered` name. Its id is made from the ecosystem and
/// `stamp`, which is the local time as "yyyyMMdd-HHmmss". When the entered name is blank, so is its name. `home` is the
/// home folder, in which the workspace is.
NewAgent newAgent(const QString& ecosystem, const QString& entered, const QString& stamp, const QString& home);
