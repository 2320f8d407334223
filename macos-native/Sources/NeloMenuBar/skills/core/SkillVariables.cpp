#include "skills/core/SkillVariables.h"

namespace {

QString primaryLabel(const Json& skill, const QString& missing)
{
    const QString label = textOf(skill, "primaryEnvLabel").trimmed();
    return label.isEmpty() ? missing : label;
}

} // namespace

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
