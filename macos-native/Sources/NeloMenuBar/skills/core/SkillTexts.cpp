#include "skills/core/SkillTexts.h"

QString skillTitle(const Json& skill)
{
    const QString name = textOf(skill, "name", QStringLiteral("(unknown)"));
    const QString source = textOf(skill, "source");
    return source.isEmpty() ? name : u'[' + source + QStringLiteral("] ") + name;
}

QString skillName(const Json& skill)
{
    return textOf(skill, "name", textOf(skill, "skillKey"));
}

QString skillDescription(const Json& skill)
{
    const QString description = textOf(skill, "description") + QStringLiteral("\nskillKey: ")
                                + textOf(skill, "skillKey") + QStringLiteral("\npath: ") + textOf(skill, "path");
    const QStringList required = textsOf(skill, "requiredEnv");
    if (required.isEmpty())
        return description;
    return description + QStringLiteral("\nrequires.env: ") + required.join(QStringLiteral(", "));
}

QString cloudSkillName(const Json& skill)
{
    return textOf(skill, "name", textOf(skill, "key"));
}

QString cloudSkillTitle(const Json& skill)
{
    const QString version = textOf(skill, "version");
    const QString description = textOf(skill, "description");
    QString title = cloudSkillName(skill);
    if (!version.isEmpty())
        title += QStringLiteral(" v") + version;
    if (!description.isEmpty())
        title += QStringLiteral(" - ") + description;
    return title;
}

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
