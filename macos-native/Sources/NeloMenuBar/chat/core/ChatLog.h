#pragma once

#include <QString>

/// Returns the path of the chat's diagnostics log, ".nelo/menubar_chat.log" in the user's home. Creates the folder when
/// it is missing.
QString neloChatLogURL();

/// Appends one entry to the log: "[", the time, "] ", `message` as it is and a line feed. The log is readable by its
/// owner only. An entry that cannot be written is dropped. Only the main thread may call: an entry takes no lock.
void neloChatLog(const QString& message);

/// Returns how many characters of `text` a reader sees, as entries of the log count them: extended grapheme clusters of
/// Unicode's annex 29. A flag, a family or a letter with all its marks is one, and so is a carriage return with its
/// line feed.
qsizetype characterCount(const QString& text);
