#include "agents/core/ConfigFile.h"

#include "base/AtomicFile.h"
#include "base/Text.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <tuple>

#include <sys/stat.h>

namespace {

constexpr QFile::Permissions ownersFile = QFile::ReadOwner | QFile::WriteOwner;
constexpr QFile::Permissions ownersFolder = ownersFile | QFile::ExeOwner;

/// What a backup is called that is made at the local time `now`.
QString backupPath(const QString& path, const QDateTime& now)
{
    return path + QStringLiteral(".bak.") + compactTimestamp(now);
}

/// Makes a second name for a file that we may not read. It stays with what the file holds now: a save replaces the file
/// and leaves its earlier content alone.
void linkFile(const QString& path, const QString& backup)
{
    std::error_code ignored;
    const std::filesystem::path file = std::filesystem::canonical(QFile::encodeName(path).toStdString(), ignored);
    std::filesystem::create_hard_link(file, QFile::encodeName(backup).toStdString(), ignored);
}

/// Takes a second name away again, for whoever writes into the file would write into its backup.
void unlinkFile(const QString& path, const QString& backup)
{
    std::error_code ignored;
    const std::filesystem::path link = QFile::encodeName(backup).toStdString();
    if (std::filesystem::equivalent(QFile::encodeName(path).toStdString(), link, ignored))
        std::filesystem::remove(link, ignored);
}

void copyFile(QFile& file, const QString& path)
{
    const QByteArray bytes = file.readAll();
    if (file.error() != QFile::NoError)
        return; // half a copy would pass for the file
    const bool mayWrite = file.permissions().testFlag(QFile::WriteOwner);
    std::ignore = writeNewFile(path, bytes, mayWrite ? S_IRUSR | S_IWUSR : S_IRUSR);
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
    if (!QFileInfo(path).isFile())
        return;
    const QString backup = backupPath(path, now);
    QFile file(path);
    if (file.open(QFile::ReadOnly))
        copyFile(file, backup);
    else
        linkFile(path, backup);
}

std::optional<QString> saveConfigFile(const QString& path, const QByteArray& bytes, const QDateTime& now)
{
    backUpConfigFile(path, now);
    std::optional<QString> failure = writeFileAtomically(path, bytes);
    if (failure)
        unlinkFile(path, backupPath(path, now));
    return failure;
}
