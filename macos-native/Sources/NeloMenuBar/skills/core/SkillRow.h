#pragma once

#include "base/Json.h"

#include <QStringList>

#include <vector>

/// What the list of skills shows of a row: its name, after its source if it has one.
QString skillTitle(const Json& skill);

/// How the status line calls a skill: by its name, or by its key when it has none.
QString skillName(const Json& skill);

/// What a skill is and where it comes from, over several lines; the last one, with the variables that it requires, only
/// if it requires any.
QString skillDescription(const Json& skill);

/// Whether this is the one skill that watches news sources.
bool isSocialMediaAlert(const Json& skill);

/// The environment variable that holds the skill's credential; empty when it needs none.
QString primaryVariable(const Json& skill);

/// The caption of the credential's field.
QString credentialCaption(const Json& skill);

/// An environment variable with a field of its own.
struct DynamicVariable
{
    QString name;
    QString caption;

    bool operator==(const DynamicVariable&) const = default;
};

/// The variables that the skill requires, each once, the primary one first unless it stands among them.
std::vector<DynamicVariable> dynamicVariables(const Json& skill);
