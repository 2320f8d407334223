#pragma once

#include "base/Json.h"

#include <optional>

/// How a skill is configured in one ecosystem.
struct SkillEntry
{
    bool isEnabled = true;
    QString apiKey;
    /// The environment variables by name.
    Json env = Json::object();
    /// Not ours: it goes back as it came.
    Json config = Json::object();
};

/// Reads an entry leniently: only an explicit false disables it, and what is not an object counts as an empty one.
SkillEntry readSkillEntry(const Json& object);

/// The entry to save: an object of the four members and nothing else.
Json toJson(const SkillEntry& entry);

/// What the field of the variable `name` shows. The entry's credential stands in for a primary variable of `skill` that
/// the environment does not hold.
QString variableText(const SkillEntry& entry, const Json& skill, const QString& name);

/// The credential to save with `env`: what it holds for the variable `primary`, else what was `typed` into the
/// credential's own field.
QString credentialToSave(const Json& env, const QString& primary, const QString& typed);

/// The environment as text to read and to edit, sorted by name.
QString prettyEnv(const Json& env);

/// The object that `text` is as JSON, nothing but white space being an empty one; nothing when it is anything else.
std::optional<Json> parseObject(const QString& text);
