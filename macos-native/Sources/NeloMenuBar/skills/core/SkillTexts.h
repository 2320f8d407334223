#pragma once

#include "base/Json.h"

/// Returns what the list of skills shows of a skill: its name, after its source if it has one.
QString skillTitle(const Json& skill);

/// Returns the name of a skill, or its key when it has no name.
QString skillName(const Json& skill);

/// Returns what a skill is and where it comes from, over several lines. The last one, with the variables that the skill
/// requires, is left out when it requires none.
QString skillDescription(const Json& skill);

/// Returns the name of a skill of the cloud catalogue, or its key when it has no name.
QString cloudSkillName(const Json& skill);

/// Returns the title of a skill of the cloud catalogue: its name, and its version and description if it has them.
QString cloudSkillTitle(const Json& skill);
