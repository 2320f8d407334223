#include "agents/core/ConfigFile.h"

#include "base/AtomicFile.h"
#include "base/Text.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <tuple>

#include <sys/stat.h>

namespace {

constexpr QFile::Permissions ownersFile = QFile::ReadOwner | QFile::WriteOwner;
constexpr QFile::Permissions ownersFolder = ownersFile | QFile::ExeOwner;

/// Returns the path of a backup that is made at the local time `now`.
QString backupPath(const QString& path, const QDateTime& now)
{
    return path + QStringLiteral(".bak.") + compactTimestamp(now);
}

} // namespace

QByteArray readConfigFile(const QString& path)
{
    return readFile(path).value_or(QByteArray());
}

void createConfigFile(const QString& path)
{
    const QFileInfo file(path);
    if (file.exists())
        return;
    const QString folder = file.absolutePath();
    QDir().mkpath(QFileInfo(folder).absolutePath());
    QDir().mkdir(folder, ownersFolder);
    std::ignore = writeFileAtomically(path, QByteArrayLiteral("{}\n"));
}

void backUpConfigFile(const QString& path, const QDateTime& now)
{
    const std::optional<QByteArray> bytes = readFile(path);
    if (!bytes)
        return; // a part of the file must not look like a copy of it
    const bool mayWrite = QFile::permissions(path).testFlag(QFile::WriteOwner);
    std::ignore = writeNewFile(backupPath(path, now), *bytes, mayWrite ? S_IRUSR | S_IWUSR : S_IRUSR);
}

std::optional<QString> saveConfigFile(const QString& path, const QByteArray& bytes, const QDateTime& now)
{
    backUpConfigFile(path, now);
    return writeFileAtomically(path, bytes);
}
