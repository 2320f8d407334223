#include "settings/ApiKeyStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryFile>

namespace {

constexpr QFile::Permissions ownerOnly = QFile::ReadOwner | QFile::WriteOwner;

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

/// Makes sure that the file at `path` exists and that nobody but its owner may read it. `QSettings` gives the files
/// that it replaces the same mode, but would make the first one readable for all.
bool makePrivate(const QString& path)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QFile::ReadWrite, ownerOnly)
           && file.setPermissions(ownerOnly);
}

/// Whether the disk takes the file at `path` once more, with `additional` characters in it. `QSettings` does not notice
/// a short write, reports success and has lost what did not fit.
bool hasRoom(const QString& path, qsizetype additional)
{
    constexpr qint64 bytesPerCharacter = 6; // "\xffff", the longest that the format has
    constexpr qint64 keyAndLockFile = 8192;
    const QByteArray filling(QFileInfo(path).size() + additional * bytesPerCharacter + keyAndLockFile, ' ');
    QTemporaryFile probe(QFileInfo(path).path() + QStringLiteral("/.nelo-XXXXXX"));
    return probe.open() && probe.write(filling) == filling.size() && probe.flush();
}

#endif

} // namespace

ApiKeyStore::ApiKeyStore()
{
#ifndef Q_OS_MACOS
    const QString path = QSettings().fileName();
    if (QFileInfo::exists(path))
        QFile::setPermissions(path, ownerOnly);
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
#ifndef Q_OS_MACOS
    if (!makePrivate(defaults.fileName()) || !hasRoom(defaults.fileName(), key.size()))
        return false;
#endif
    defaults.setValue(settingsKey(provider), key);
    defaults.sync();
    return defaults.status() == QSettings::NoError;
}
