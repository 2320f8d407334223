#include "skills/core/CloudSkill.h"

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
