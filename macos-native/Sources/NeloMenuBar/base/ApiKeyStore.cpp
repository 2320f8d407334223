#include "base/ApiKeyStore.h"

#include <QSettings>

#ifndef Q_OS_MACOS
#include "base/AtomicFile.h"
#include "base/IniText.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <optional>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#endif

namespace {

/// The name under which `QSettings` gets at the user default "nelo.menubar.apiKey." and `provider`.
QString settingsKey(const QString& provider)
{
#ifdef Q_OS_MACOS
    // QSettings has its slashes written as dots there, and dots as something else.
    return QStringLiteral("nelo/menubar/apiKey/") + provider;
#else
    return QStringLiteral("nelo.menubar.apiKey.") + provider;
#endif
}

#ifndef Q_OS_MACOS // which keeps user defaults behind a service of its own

constexpr QFile::Permissions ownersFile = QFile::ReadOwner | QFile::WriteOwner;

/// Keeps others who change a file in the folder waiting while it lives; the system lets go of it with the process.
class FolderLock final
{
public:
    explicit FolderLock(const QString& folder)
        : m_folder(open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
        while (m_folder >= 0 && flock(m_folder, LOCK_EX) != 0 && errno == EINTR) {
        }
    }
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;
    ~FolderLock()
    {
        if (m_folder >= 0)
            close(m_folder);
    }

private:
    int m_folder;
};

/// All of a file, which is empty when there is none; nothing when it cannot be read.
std::optional<QByteArray> contentOf(const QString& path)
{
    QFile file(path);
    if (!file.exists())
        return QByteArray();
    if (!QFileInfo(path).isFile() || !file.open(QFile::ReadOnly))
        return std::nullopt;
    const QByteArray bytes = file.readAll();
    return file.error() == QFile::NoError ? std::optional(bytes) : std::nullopt;
}

using FileTime = std::filesystem::file_time_type;

FileTime timeOf(const std::filesystem::path& path)
{
    std::error_code missing;
    const FileTime time = std::filesystem::last_write_time(path, missing);
    return missing ? FileTime::min() : time;
}

/// `QSettings` takes a file for the one it has read when size and time, to the millisecond, are the same. A key may be
/// as long as the one before, and a disk of memory gives files that are written one after the other the same time.
void makeLater(const std::filesystem::path& path, FileTime than)
{
    using Milliseconds = std::chrono::milliseconds;
    std::error_code ignored;
    if (std::chrono::floor<Milliseconds>(timeOf(path)) <= std::chrono::floor<Milliseconds>(than))
        std::filesystem::last_write_time(path, than + Milliseconds(1), ignored);
}

/// Puts the value into the file, whole or not at all. `QSettings` itself counts a short write as a success and has lost
/// what did not fit, and a lock of its own that a killed program left keeps it waiting.
bool storeValue(const QString& path, const QString& key, const QString& value)
{
    if (!QDir().mkpath(QFileInfo(path).path()))
        return false;
    const FolderLock lock(QFileInfo(path).path());
    const bool isPrivate = !QFileInfo::exists(path) || QFile::setPermissions(path, ownersFile);
    const std::optional<QByteArray> earlier = contentOf(path);
    if (!earlier || !isPrivate)
        return false;
    const std::filesystem::path file = QFile::encodeName(path).toStdString();
    const FileTime timeBefore = timeOf(file);
    if (writeFileAtomically(path, withIniValue(*earlier, key.toLatin1(), value), ownerOnly))
        return false;
    makeLater(file, timeBefore);
    return true;
}

#endif

} // namespace

ApiKeyStore::ApiKeyStore()
{
#ifndef Q_OS_MACOS
    const QString path = QSettings().fileName();
    if (QFileInfo::exists(path))
        QFile::setPermissions(path, ownersFile);
#endif
}

QString ApiKeyStore::key(const QString& provider) const
{
    QSettings defaults;
    defaults.setFallbacksEnabled(false); // a key is this user's and this application's
    return defaults.value(settingsKey(provider)).toString();
}

bool ApiKeyStore::setKey(const QString& provider, const QString& key)
{
    QSettings defaults;
#ifdef Q_OS_MACOS
    defaults.setValue(settingsKey(provider), key);
    defaults.sync();
    return defaults.status() == QSettings::NoError;
#else
    return storeValue(defaults.fileName(), settingsKey(provider), key);
#endif
}
