#pragma once

#include <QMap>
#include <QString>

#include <chrono>
#include <optional>

/// The providers' API keys in the application's user defaults: one string for each provider, under
/// "nelo.menubar.apiKey." and the provider's name.
///
/// On Linux only the owner may read the file with the user defaults: it is made so before the first key is written. Its
/// path follows from the names of the application and the organization, which must be set. `QSettings` does not write
/// it: it takes a short write for a success, and waits for a lock file that a killed program has left.
///
/// Any thread may call. Each call sees what the one before it wrote.
class ApiKeyStore final
{
public:
    static constexpr std::chrono::milliseconds defaultLockTimeout{100}; // a window that saves stands still meanwhile

    /// Makes an existing file readable by its owner only: it may have come from a backup. `setKeys` waits at most
    /// `lockTimeout` for another program that writes the file.
    explicit ApiKeyStore(std::chrono::milliseconds lockTimeout = defaultLockTimeout);

    /// Returns the key of `provider` exactly as it was stored. It is empty when there is none.
    QString key(const QString& provider) const;

    /// Stores all `keys`, by provider, at once. A key may be empty or any text; the keys of other providers stay.
    /// Returns nothing when they are on the disk, otherwise the reason; then all earlier keys are still there.
    [[nodiscard]] std::optional<QString> setKeys(const QMap<QString, QString>& keys);

private:
    [[maybe_unused]] std::chrono::milliseconds m_lockTimeout; // not used on macOS
};
