#pragma once

#include <QByteArray>
#include <QStringList>

/// What tests do with files.
namespace Files {

/// Writes a file, and the folders it lies in. Ends the program when it cannot.
void create(const QString& path, const QByteArray& content);

/// All bytes of a file; a null array when it cannot be read.
QByteArray content(const QString& path);

/// The permission bits of a file, such as 0600; -1 when there is none.
int mode(const QString& path);

/// The names of everything in a folder, hidden and temporary files too, in order.
QStringList names(const QString& folder);
#include <QFile>
/// Files for a test to find, and what a test finds in them.
/// Has the file at `path` hold `content`; ends the test program when that cannot be.
inline void create(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QFile::WriteOnly | QFile::Unbuffered) || file.write(content) != content.size())
        qFatal("%s cannot be written", qPrintable(path));
}
/// What the file at `path` holds; "unreadable" when it cannot be read.
inline QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

} // namespace Files
