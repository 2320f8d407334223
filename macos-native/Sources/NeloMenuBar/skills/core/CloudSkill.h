#pragma once

#include "base/Json.h"

/// What a skill of the cloud catalogue is called: by its name, or by its key when it has none.
QString cloudSkillName(const Json& skill);

/// What the choice of cloud skills shows of one: its name, and its version and description if it has them.
QString cloudSkillTitle(const Json& skill);
