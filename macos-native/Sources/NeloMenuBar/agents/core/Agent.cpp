#include "agents/core/Agent.h"

#include "base/Ecosystem.h"

bool Agent::isManaged() const
{
    return origin == QStringLiteral("managed");
}

QString Agent::label() const
{
    return ecosystem + u'/' + id;
}

Agent agentOf(const Json& row)
{
    const QString id = textOf(row, "id");
    return {textOf(row, "ecosystem"), id, textOf(row, "name", id), textOf(row, "origin"), textOf(row, "workspace")};
}

NewAgent newAgent(const QString& ecosystem, const QString& entered, const QString& stamp, const QString& home)
{
    const QString id = ecosystem + u'-' + stamp;
    const QString name = entered.trimmed();
    return {ecosystem, id, name.isEmpty() ? ecosystem + u' ' + stamp : name,
            Ecosystem::workspacePath(ecosystem, id, home)};
}
