#pragma once

#include "base/Json.h"

#include <optional>

/// The configuration of a skill in one ecosystem.
struct SkillEntry
{
    bool isEnabled = true;
    QString apiKey;
    /// The environment variables by name.
    Json env = Json::object();
    /// Nelo does not use this. It is saved as it was loaded.
    Json config = Json::object();
};

/// Reads an entry leniently. Only false disables it. A value that should be an object and is not counts as an empty
/// object.
SkillEntry readSkillEntry(const Json& object);

/// Returns the entry to save: an object with exactly the four members.
Json toJson(const SkillEntry& entry);

/// Returns the text for the field of the variable `name`. For the primary variable of `skill` this is the entry's
/// credential when the environment does not have the variable.
QString variableText(const SkillEntry& entry, const Json& skill, const QString& name);

/// Returns the credential to save with `env`: the value of the variable `primary`, or when `env` has none, the text
/// that was `typed` into the field of the credential.
QString credentialToSave(const Json& env, const QString& primary, const QString& typed);

/// Returns the environment as JSON text for the editor, sorted by name.
QString prettyEnv(const Json& env);

/// Parses `text` as a JSON object. A text of white space only is an empty object. Returns nothing for anything else.
std::optional<Json> parseObject(const QString& text);
