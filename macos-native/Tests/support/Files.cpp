#include "support/Files.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>

void Files::create(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QFile::WriteOnly | QFile::Unbuffered) || file.write(content) != content.size())
        qFatal("%s: %s", qPrintable(path), qPrintable(file.errorString()));
}

QByteArray Files::contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

int Files::mode(const QString& path)
{
    struct stat status
    {};
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? static_cast<int>(status.st_mode & 07777U) : -1;
}

QStringList Files::names(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}
