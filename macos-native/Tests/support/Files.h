#pragma once

#include <QByteArray>
#include <QStringList>

/// What tests do with files.
namespace Files {

/// Writes a file, and the folders it lies in. Ends the program when it cannot.
void create(const QString& path, const QByteArray& content);

/// All bytes of a file; a null array when it cannot be read.
QByteArray contentOf(const QString& path);

/// The permission bits of a file, such as 0600; -1 when there is none.
int mode(const QString& path);

/// The names of everything in a folder, hidden and temporary files too, in order.
QStringList names(const QString& folder);

} // namespace Files
