#pragma once

#include <QString>

class BackendReply;

/// What the Runtime tab shows of a reply of "openclaw_runtime_status".
struct RuntimeReport
{
    /// Seven lines, or why there are none.
    QString summary;
    /// One line on how the refresh went.
    QString status;
};

/// Never fails: an error, an empty object or anything but an object gives a report that says so.
RuntimeReport runtimeReport(const BackendReply& reply);
