#pragma once

#include <QString>

class BackendReply;

/// What the Runtime tab shows of a reply of "openclaw_runtime_status".
struct RuntimeReport
{
    /// Seven lines, or the reason why there are none.
    QString summary;
    /// One line about the refresh.
    QString status;
};

/// Never fails. For an error, an empty object or anything else the report says that there is no status.
RuntimeReport runtimeReport(const BackendReply& reply);
