#include "base/AtomicFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryFile>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString systemText(int number)
{
    return QString::fromStdString(std::generic_category().message(number));
}

/// Returns the file that `path` leads to, which need not exist. `QFileInfo::symLinkTarget()` would drop a ".." together
/// with the name before it; where that name is a linked folder, the kernel ends up elsewhere.
std::filesystem::path linkTarget(std::filesystem::path path)
{
    constexpr int maxLinks = 40; // as many as the kernel follows
    std::error_code ignored;     // an entry that cannot be read counts as no link
    for (int links = 0; links < maxLinks && std::filesystem::is_symlink(path, ignored); ++links)
        path = path.parent_path() / std::filesystem::read_symlink(path, ignored);
    return path;
}

/// Returns `mode` for a file that has another group now. It gives no new right to the new group. It gives no new right
/// to the members of the former group either: the rights of "others" apply to them now.
mode_t modeInAnotherGroup(mode_t mode)
{
    const mode_t shared = mode & (mode >> 3) & 07;
    return (mode & 0700) | shared << 3 | shared;
}

/// Gives an open file the owner, the group and the mode of the `existing` one. Returns false when that fails.
bool takeOver(int descriptor, const struct stat& existing)
{
    // Only the superuser may give files away. For other users it becomes their own, in its group if they are a member.
    constexpr auto unchanged = static_cast<uid_t>(-1);
    const bool hasGroup = fchown(descriptor, existing.st_uid, existing.st_gid) == 0
                          || fchown(descriptor, unchanged, existing.st_gid) == 0;
    constexpr mode_t permissionBits = 0777; // without set-user-ID: the file may have another owner now
    const mode_t mode = existing.st_mode & permissionBits;
    return fchmod(descriptor, hasGroup ? mode : modeInAnotherGroup(mode)) == 0;
}

/// Writes all of `bytes`, with as many calls as the system needs. Returns false when it could not; errno says why.
/// After a short write on a full disk the next call tells the reason, which `QFile` would lose.
bool writeAll(int descriptor, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), static_cast<std::size_t>(bytes.size()));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        bytes = bytes.sliced(written);
    }
    return true;
}

const QString temporaryPrefix = QStringLiteral(".nelo-writing-");
constexpr int temporaryLetters = 12;

/// Removes the files of writers that were killed. Running writers lock theirs.
void removeLeftovers(const QDir& folder)
{
    const QStringList candidates =
        folder.entryList({temporaryPrefix + u'*'}, QDir::Files | QDir::Hidden | QDir::NoSymLinks);
    for (const QString& name : candidates) {
        static const QRegularExpression form(QStringLiteral("^\\.nelo-writing-[A-Za-z]{%1}$").arg(temporaryLetters));
        QFile leftover(folder.filePath(name));
        if (form.match(name).hasMatch() && leftover.open(QFile::ReadOnly)
            && flock(leftover.handle(), LOCK_SH | LOCK_NB) == 0)
            leftover.remove();
    }
}

/// Returns the name pattern of a temporary file in `folder`, after it has removed the leftovers there.
QString temporaryIn(const QDir& folder)
{
    removeLeftovers(folder);
    return folder.filePath(temporaryPrefix + QString(temporaryLetters, u'X'));
}

/// Opens a temporary file, calls `setMode` with its descriptor, and writes all of `bytes` to the disk. Returns the
/// system's text when one of these fails.
template <typename SetMode>
std::optional<QString> fill(QTemporaryFile& file, const QByteArray& bytes, const SetMode& setMode)
{
    if (!file.open())
        return file.errorString();
    const int descriptor = file.handle();
    flock(descriptor, LOCK_EX); // released by the system when the process ends
    if (!setMode(descriptor) || !writeAll(descriptor, bytes) || fsync(descriptor) != 0)
        return systemText(errno);
    return std::nullopt;
}

} // namespace

std::optional<QByteArray> readFile(const QString& path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QFile::ReadOnly))
        return std::nullopt;
    const QByteArray bytes = file.readAll();
    return file.error() == QFile::NoError ? std::optional(bytes) : std::nullopt;
}

std::optional<QString> writeFileAtomically(const QString& path, const QByteArray& bytes, mode_t newFileMode)
{
    struct stat existing
    {};
    const bool exists = stat(QFile::encodeName(path).constData(), &existing) == 0;
    if (!exists && errno != ENOENT)
        return systemText(errno);
    if (exists && !S_ISREG(existing.st_mode))
        return systemText(S_ISDIR(existing.st_mode) ? EISDIR : EINVAL);

    // QSaveFile would not do: its commit() succeeds after a short write on a full disk, and its new files are readable
    // for all at first. The temporary file is in the same folder, because a rename must not cross file systems.
    const std::filesystem::path target = linkTarget(std::filesystem::path(".") / QFile::encodeName(path).toStdString());
    std::error_code failure;
    const std::filesystem::path folder = std::filesystem::canonical(target.parent_path(), failure);
    if (failure)
        return QString::fromStdString(failure.message());
    QTemporaryFile file(temporaryIn(QDir(QFile::decodeName(folder.c_str()))));
    const auto setMode = [&](int descriptor) {
        return exists ? takeOver(descriptor, existing) : fchmod(descriptor, newFileMode) == 0;
    };
    if (const std::optional<QString> text = fill(file, bytes, setMode))
        return text;
    const QString temporary = file.fileName(); // gives a name to a file that has none yet
    if (temporary.isEmpty() || std::rename(QFile::encodeName(temporary).constData(), target.c_str()) != 0)
        return systemText(errno);
    file.setAutoRemove(false);
    return std::nullopt;
}

std::optional<QString> writeNewFile(const QString& path, const QByteArray& bytes, mode_t mode)
{
    QTemporaryFile file(temporaryIn(QFileInfo(path).dir()));
    const auto setMode = [mode](int descriptor) { return fchmod(descriptor, mode) == 0; };
    if (const std::optional<QString> text = fill(file, bytes, setMode))
        return text;
    if (!file.rename(path))
        return file.errorString();
    file.setAutoRemove(false);
    return std::nullopt;
}
