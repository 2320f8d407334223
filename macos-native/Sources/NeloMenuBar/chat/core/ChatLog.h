#pragma once

#include <QString>

/// Returns the path of `fileName` in the folder ".nelo" of the user's home, where the chat keeps its files. Creates the
/// folder when it is missing. When that fails, reading or writing the file fails.
QString pathInChatFolder(const QString& fileName);

/// Returns the path of the chat's diagnostics log, ".nelo/menubar_chat.log" in the user's home. Creates the folder when
/// it is missing.
QString neloChatLogURL();

/// Appends one entry to the log: "[", the time, "] ", `message` as it is and a line feed. Only its owner may read the
/// log. An entry that cannot be written is dropped. Only the main thread may call: there is no lock.
void neloChatLog(const QString& message);

/// Returns how many characters of `text` a reader sees. The log's entries count in this way. A character is an extended
/// grapheme cluster of Unicode's annex 29: a flag, a family, a letter with all its marks, or a carriage return with its
/// line feed.
qsizetype characterCount(const QString& text);
