#include "support/SmallDisk.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace {

constexpr qint64 pageSize = 4096;

[[noreturn]] void giveUp(const char* what)
{
    qFatal("%s: %s", what, std::strerror(errno)); // NOLINT(concurrency-mt-unsafe)
}

void writeFile(const char* path, const QByteArray& text)
{
    QFile file(QString::fromLatin1(path));
    if (!file.open(QFile::WriteOnly | QFile::Unbuffered) || file.write(text) != text.size())
        giveUp(path);
}

/// Makes whoever we are the superuser of a name space of our own.
void becomeOwnSuperuser()
{
    const QByteArray user = QByteArray::number(geteuid());
    const QByteArray group = QByteArray::number(getegid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        giveUp("no mounts of our own");
    writeFile("/proc/self/setgroups", "deny");
    writeFile("/proc/self/uid_map", "0 " + user + " 1");
    writeFile("/proc/self/gid_map", "0 " + group + " 1");
}

} // namespace

void SmallDisk::allowMounts()
{
    if (unshare(CLONE_NEWNS) != 0)
        becomeOwnSuperuser();
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        giveUp("private mounts");
}

SmallDisk::SmallDisk(qint64 size)
{
    const QByteArray options = "mode=0700,size=" + QByteArray::number(size);
    if (mount("none", QFile::encodeName(m_folder.path()).constData(), "tmpfs", 0, options.constData()) != 0)
        giveUp("a small disk");
}

SmallDisk::~SmallDisk()
{
    umount2(QFile::encodeName(m_folder.path()).constData(), MNT_DETACH);
}

QString SmallDisk::path(const QString& relative) const
{
    return relative.isEmpty() ? m_folder.path() : QDir(m_folder.path()).filePath(relative);
}

void SmallDisk::fill(qint64 rest) const
{
    QFile filling(path(QStringLiteral("filling")));
    if (!filling.open(QFile::WriteOnly | QFile::Append | QFile::Unbuffered))
        giveUp("filling a disk");
    const QByteArray page(pageSize, 'x');
    while (filling.write(page) == page.size()) {
    }
    filling.resize(filling.size() / pageSize * pageSize - rest / pageSize * pageSize);
}

void SmallDisk::empty() const
{
    QFile::remove(path(QStringLiteral("filling")));
}

void SmallDisk::makeReadOnly() const
{
    const unsigned long flags = MS_REMOUNT | MS_RDONLY;
    if (mount("none", QFile::encodeName(m_folder.path()).constData(), "tmpfs", flags, nullptr) != 0)
        giveUp("a read-only disk");
}
