#pragma once

#include <QString>

#include <optional>

#include <sys/types.h>

/// The mode of a file that only its owner may read and write.
constexpr mode_t ownerOnly = 0600;

/// Returns all bytes of the regular file at `path`, or nothing when there is no regular file or it cannot be read to
/// its end. Never waits for a pipe.
std::optional<QByteArray> readFile(const QString& path);

/// Replaces the content of the file at `path` by `bytes`, all of it or not at all: another program sees the old file or
/// the new one, and a failure leaves the old one as it was and nothing beside it.
///
/// A file that exists keeps its mode, and its owner and its group where the system lets us set them; in another group
/// it keeps no right that somebody would gain by that. A symbolic link stays one, and what it points to is replaced.
/// The file need not be writable: its folder must be. A file that does not exist gets the mode `newFileMode`, whatever
/// the umask, before its first byte. Only regular files are replaced.
///
/// What a writer that was killed left in the folder is removed before.
///
/// Blocks until the bytes are on the disk. Any thread may call.
///
/// Returns nothing when all went well, otherwise the system's text.
[[nodiscard]] std::optional<QString> writeFileAtomically(const QString& path, const QByteArray& bytes,
                                                         mode_t newFileMode = ownerOnly);

/// Makes a file at `path` of `bytes`, whole or not at all, with the mode `mode` whatever the umask. A file or link that
/// is there stays. Otherwise as above.
[[nodiscard]] std::optional<QString> writeNewFile(const QString& path, const QByteArray& bytes, mode_t mode);
