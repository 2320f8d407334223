#pragma once

#include "base/Json.h"

/// Returns the status line after an installation. `subject` is for example "skill", `result` the backend's reply. The
/// line tells the folder and the result of each restart that was attempted.
QString installStatus(const QString& subject, const Json& result);

/// Returns the text of the alert after an installation, in three lines: the folder, the runtime's restart, and the
/// gateway's restart.
QString installSummary(const Json& result);
