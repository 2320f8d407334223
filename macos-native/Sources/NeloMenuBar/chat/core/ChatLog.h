#pragma once

#include <QString>

/// Where the chat's diagnostics log is: ".nelo/menubar_chat.log" in the user's home. Creates the folder when it is
/// missing.
QString neloChatLogURL();

/// Appends one entry to the log: "[", the time, "] ", `message` as it is and a line feed. The log is readable by its
/// owner only. An entry that cannot be written is dropped. For the main thread: an entry takes no lock.
void neloChatLog(const QString& message);
