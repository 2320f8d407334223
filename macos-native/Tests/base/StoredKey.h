#pragma once

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

/// The key as a program that starts now finds it in the file; in this one `QSettings` remembers.
inline QString storedKey(const QString& path, const QString& provider)
{
    const QTemporaryDir folder;
    const QString copy = folder.filePath(QStringLiteral("copy.conf"));
    QFile::copy(path, copy);
    return QSettings(copy, QSettings::IniFormat).value(QStringLiteral("nelo.menubar.apiKey.") + provider).toString();
}
