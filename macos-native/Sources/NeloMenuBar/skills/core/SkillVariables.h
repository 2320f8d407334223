#pragma once

#include "base/Json.h"

#include <vector>

/// An environment variable of a skill. It has a field of its own.
struct DynamicVariable
{
    QString name;
    QString caption;

    bool operator==(const DynamicVariable&) const = default;
};

/// Returns the environment variable that holds the skill's credential. It is empty when the skill needs none.
QString primaryVariable(const Json& skill);

/// Returns the caption of the credential's field.
QString credentialCaption(const Json& skill);

/// Returns the variables that the skill requires, each once. When the primary variable is not among them, it comes
/// before them.
std::vector<DynamicVariable> dynamicVariables(const Json& skill);
