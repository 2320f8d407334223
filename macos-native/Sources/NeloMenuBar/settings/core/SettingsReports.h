#pragma once

#include <QString>

#include <optional>

class BackendReply;

/// What the status line says after a save.
struct SaveReport
{
    QString status;
    bool areKeysStored = true;
};

/// Returns the report for the `reply` of "save_nelo_settings". `keyFailure` is the reason why the API keys were not
/// stored, or nothing when they were stored.
SaveReport saveReport(const BackendReply& reply, const std::optional<QString>& keyFailure);

/// Returns the status line for the `reply` of "refresh_cloud_skills_via_core", which follows a save. When the API keys
/// were not stored, the line says this, too.
QString catalogStatus(const SaveReport& saved, const BackendReply& reply);
