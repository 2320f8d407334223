#pragma once

#include <QString>

#include <optional>

class BackendReply;

/// What the status line says of a save.
struct SaveReport
{
    QString status;
    bool areKeysStored = true;
};

/// Words the `reply` of "save_nelo_settings". `keyFailure` is the reason why the API keys were not stored, or nothing
/// when they were.
SaveReport saveReport(const BackendReply& reply, const std::optional<QString>& keyFailure);

/// Words the `reply` of "refresh_cloud_skills_via_core", which follows a save. Keys that were not stored stay told.
QString catalogStatus(const SaveReport& saved, const BackendReply& reply);
