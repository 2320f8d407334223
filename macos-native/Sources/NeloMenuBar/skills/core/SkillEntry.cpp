#include "skills/core/SkillEntry.h"

SkillEntry readSkillEntry(const Json& object)
{
    const auto enabled = object.find("enabled");
    return {
        .isEnabled = enabled == object.end() || *enabled != false,
        .apiKey = textOf(object, "apiKey"),
        .env = objectOf(object, "env"),
        .config = objectOf(object, "config"),
    };
}

Json toJson(const SkillEntry& entry)
{
    return {{"enabled", entry.isEnabled}, {"apiKey", entry.apiKey}, {"env", entry.env}, {"config", entry.config}};
}

QString variableText(const SkillEntry& entry, const Json& skill, const QString& name)
{
    const auto value = entry.env.find(name.toStdString());
    if (value != entry.env.end())
        return textOf(*value);
    return name == textOf(skill, "primaryEnv") ? entry.apiKey : QString();
}

QString credentialToSave(const Json& env, const QString& primary, const QString& typed)
{
    const auto value = primary.isEmpty() ? env.end() : env.find(primary.toStdString());
    return value == env.end() ? typed : textOf(*value);
}

QString prettyEnv(const Json& env)
{
    const nlohmann::json sorted(env);
    return QString::fromStdString(sorted.dump(2));
}

std::optional<Json> parseObject(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return Json::object();
    Json value = parseJson(trimmed.toStdString());
    return value.is_object() ? std::optional(std::move(value)) : std::nullopt;
}
