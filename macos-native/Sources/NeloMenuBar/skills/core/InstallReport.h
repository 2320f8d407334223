#pragma once

#include "base/Json.h"

/// What the status line says after `subject`, "skill" say, was installed with this `result`: where it is now and, for
/// each restart that was attempted, how that went.
QString installStatus(const QString& subject, const Json& result);

/// The same in full for an alert, a line each: where it is now, the runtime's restart, the gateway's restart.
QString installSummary(const Json& result);
