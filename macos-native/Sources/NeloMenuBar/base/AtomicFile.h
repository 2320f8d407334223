#pragma once

#include <QString>

#include <optional>

#include <sys/types.h>

/// The mode of a file that only its owner may read and write.
constexpr mode_t ownerOnly = 0600;

/// Returns all bytes of the regular file at `path`, or nothing when there is no regular file or it cannot be read to
/// its end. Never waits for a pipe.
std::optional<QByteArray> readFile(const QString& path);

/// Replaces the content of the file at `path` by `bytes`, all of it or not at all. Other programs see the old file or
/// the new one; a failure leaves the old one unchanged and nothing beside it.
///
/// An existing file keeps its mode, and its owner and group where the system allows it. A file that gets another group
/// loses the rights that somebody would gain by that. A symbolic link stays, and its target is replaced. The folder
/// must be writable, the file need not be. A new file gets the mode `newFileMode` before its first byte, whatever the
/// umask. Only regular files are replaced.
///
/// Files that a killed writer left in the folder are removed first.
///
/// Blocks until the bytes are on the disk. Any thread may call.
///
/// Returns nothing on success, otherwise the system's text.
[[nodiscard]] std::optional<QString> writeFileAtomically(const QString& path, const QByteArray& bytes,
                                                         mode_t newFileMode = ownerOnly);

/// Creates a file at `path` with the content `bytes`, all of it or not at all, and with the mode `mode` whatever the
/// umask. Fails when there is a file or a link already. Everything else is as above.
[[nodiscard]] std::optional<QString> writeNewFile(const QString& path, const QByteArray& bytes, mode_t mode);
