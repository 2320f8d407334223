#pragma once

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

/// Returns the key that `QSettings` finds in the file. It reads a copy: of a file that it knows it may remember more.
inline QString storedKey(const QString& path, const QString& provider)
{
    const QTemporaryDir folder;
    const QString copy = folder.filePath(QStringLiteral("copy.conf"));
    QFile::copy(path, copy);
    return QSettings(copy, QSettings::IniFormat).value(QStringLiteral("nelo.menubar.apiKey.") + provider).toString();
}
