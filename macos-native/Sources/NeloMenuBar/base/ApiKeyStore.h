#pragma once

#include <QString>

/// The providers' API keys in the application's user defaults, one string each under "nelo.menubar.apiKey." and the
/// provider's name.
///
/// On Linux the file with the user defaults is readable by its owner only, before a key is in it and from then on.
/// Where it is follows from the application's and the organization's name, which must be set.
///
/// Any thread may call; each call sees what the one before wrote.
class ApiKeyStore final
{
public:
    /// Takes away what a file with keys lets others do; such a file may have come from a backup.
    ApiKeyStore();

    /// The key of `provider` exactly as it was stored; empty when there is none.
    QString key(const QString& provider) const;

    /// Stores `key`, which may be empty or any text. Returns whether it is on the disk; if not, the earlier keys are.
    [[nodiscard]] bool setKey(const QString& provider, const QString& key);
};
