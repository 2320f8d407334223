#include "skills/core/SkillRow.h"

namespace {

QString primaryLabel(const Json& skill, const QString& missing)
{
    const QString label = textOf(skill, "primaryEnvLabel").trimmed();
    return label.isEmpty() ? missing : label;
}

} // namespace

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

bool isSocialMediaAlert(const Json& skill)
{
    return textOf(skill, "name").trimmed() == QStringLiteral("social-media-alert");
}

QString primaryVariable(const Json& skill)
{
    return textOf(skill, "primaryEnv").trimmed();
}

QString credentialCaption(const Json& skill)
{
    return primaryLabel(skill, QStringLiteral("API Key"));
}

std::vector<DynamicVariable> dynamicVariables(const Json& skill)
{
    const QString primary = primaryVariable(skill);
    QStringList names = textsOf(skill, "requiredEnv");
    names.removeIf([](const QString& name) { return name.trimmed().isEmpty(); });
    if (!primary.isEmpty() && !names.contains(primary))
        names.prepend(primary);
    names.removeDuplicates();

    const QString primaryCaption = primaryLabel(skill, QStringLiteral("API/Bearer Token"));
    std::vector<DynamicVariable> variables;
    for (const QString& name : std::as_const(names))
        variables.push_back({name, name == primary ? primaryCaption + QStringLiteral(" (") + name + u')' : name});
    return variables;
}
