#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

class QDateTime;

/// Returns the content of the file at `path`. It is empty when there is no regular file or when it cannot be read.
QByteArray readConfigFile(const QString& path);

/// Makes a file at `path` with an empty JSON object, and the folders above it. Only the owner may read the file and its
/// folder. An existing file stays as it is. A failure is not told: the editor shows it when it saves the file.
void createConfigFile(const QString& path);

/// Copies the file at `path`, if there is one, to a file beside it. The copy's name ends in the local time `now` in
/// whole seconds, and only the owner may read the copy. A failure is not told. An earlier copy of the same second stays
/// as it is.
void backUpConfigFile(const QString& path, const QDateTime& now);

/// Makes a backup of the file at `path` as above, and replaces its content by `bytes`, all of it or not at all. Returns
/// nothing on success, otherwise the system's text for the failure.
[[nodiscard]] std::optional<QString> saveConfigFile(const QString& path, const QByteArray& bytes, const QDateTime& now);
