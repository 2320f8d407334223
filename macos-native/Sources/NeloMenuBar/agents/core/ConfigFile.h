#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

class QDateTime;

/// Returns the content of the file at `path`. It is empty when there is no regular file or when it cannot be read.
QByteArray readConfigFile(const QString& path);

/// Makes a file at `path` that holds an empty JSON object, and the folders above it. Only their owner may read them. A
/// file that is there stays as it is. A failure is not told: it shows when the file is opened.
void createConfigFile(const QString& path);

/// Copies the file at `path`, if there is one, to a file beside it whose name tells the local time `now` to the second.
/// Only the owner may read the copy. No failure is told: not that of a file that may not be read, nor that there is a
/// copy of the same second already, which stays as it is.
void backUpConfigFile(const QString& path, const QDateTime& now);

/// Backs the file at `path` up as above and replaces its content by `bytes`, all of it or not at all. Returns nothing
/// when the file was replaced, otherwise the system's text of what failed.
[[nodiscard]] std::optional<QString> saveConfigFile(const QString& path, const QByteArray& bytes, const QDateTime& now);
