#include "base/ApiKeyStore.h"

#include <QSettings>

#ifndef Q_OS_MACOS
#include "base/AtomicFile.h"
#include "base/FileDescriptor.h"
#include "base/IniText.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#endif

#ifdef Q_OS_MACOS // a service of the system keeps the user defaults there

namespace {

/// Returns the key in the user defaults. On macOS QSettings writes a slash as a dot, and escapes a dot.
QString settingsKey(const QString& provider)
{
    return QStringLiteral("nelo/menubar/apiKey/") + provider;
}

} // namespace

ApiKeyStore::ApiKeyStore(std::chrono::milliseconds lockTimeout) : m_lockTimeout(lockTimeout)
{}

QString ApiKeyStore::key(const QString& provider) const
{
    QSettings defaults;
    defaults.setFallbacksEnabled(false); // only this application's keys
    return defaults.value(settingsKey(provider)).toString();
}

std::optional<QString> ApiKeyStore::setKeys(const QMap<QString, QString>& keys)
{
    QSettings defaults;
    for (auto key = keys.begin(); key != keys.end(); ++key)
        defaults.setValue(settingsKey(key.key()), key.value());
    defaults.sync();
    if (defaults.status() == QSettings::NoError)
        return std::nullopt;
    return QStringLiteral("the user defaults cannot be written");
}

#else

namespace {

constexpr QFile::Permissions ownersFile = QFile::ReadOwner | QFile::WriteOwner;

QByteArray settingsKey(const QString& provider)
{
    return "nelo.menubar.apiKey." + provider.toLatin1();
}

/// Locks `folder` against other programs that write a file in it, until the descriptor is closed. Returns nothing when
/// another program holds the lock for longer than `timeout`. Does not lock a folder that cannot be opened.
std::optional<FileDescriptor> lockFolder(const std::filesystem::path& folder, std::chrono::milliseconds timeout)
{
    FileDescriptor descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const auto end = std::chrono::steady_clock::now() + timeout;
    while (flock(descriptor.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        if (std::chrono::steady_clock::now() >= end)
            return std::nullopt;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return descriptor;
}

} // namespace

ApiKeyStore::ApiKeyStore(std::chrono::milliseconds lockTimeout) : m_lockTimeout(lockTimeout)
{
    const QString path = QSettings().fileName();
    if (QFileInfo::exists(path))
        QFile::setPermissions(path, ownersFile);
}

QString ApiKeyStore::key(const QString& provider) const
{
    return iniValue(readFile(QSettings().fileName()).value_or(QByteArray()), settingsKey(provider));
}

std::optional<QString> ApiKeyStore::setKeys(const QMap<QString, QString>& keys)
{
    const QString path = QSettings().fileName();
    const std::filesystem::path folder = QFile::encodeName(QFileInfo(path).path()).toStdString();
    std::error_code failure;
    std::filesystem::create_directories(folder, failure);
    if (failure)
        return QString::fromStdString(failure.message());
    const std::optional<FileDescriptor> lock = lockFolder(folder, m_lockTimeout);
    if (!lock)
        return QStringLiteral("another program is writing them");

    const bool exists = QFileInfo::exists(path);
    const std::optional<QByteArray> earlier = exists ? readFile(path) : QByteArray();
    if (!earlier || (exists && !QFile::setPermissions(path, ownersFile)))
        return path + QStringLiteral(" cannot be read or made private");
    QMap<QByteArray, QString> values;
    for (auto key = keys.begin(); key != keys.end(); ++key)
        values.insert(settingsKey(key.key()), key.value());
    return writeFileAtomically(path, withIniValues(*earlier, values));
}

#endif
