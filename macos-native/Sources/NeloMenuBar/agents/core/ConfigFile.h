#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

class QDateTime;

/// The content of the file at `path`; empty when there is no regular file or it cannot be read.
QByteArray readConfigFile(const QString& path);

/// Makes a file at `path` that holds an empty JSON object, and the folders above it, unless there is one; only their
/// owner may read them. A failure is not told: whoever opens the file next finds out.
void createConfigFile(const QString& path);

/// Keeps the file at `path`, if there is one, beside itself under a name that tells the local time `now` to the second.
/// An earlier backup of the same second stays as it is, and the new one is not made; no other failure is told either.
/// Only the owner may read the backup, and only when they may read the file.
void backUpConfigFile(const QString& path, const QDateTime& now);

/// Backs the file at `path` up as above and replaces its content by `bytes`, all of it or not at all. Returns nothing
/// when all went well, otherwise the system's text; no backup is then another name of the file itself.
[[nodiscard]] std::optional<QString> saveConfigFile(const QString& path, const QByteArray& bytes, const QDateTime& now);
