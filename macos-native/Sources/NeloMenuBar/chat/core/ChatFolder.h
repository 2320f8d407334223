#pragma once

#include <QString>

/// Returns the path of `fileName` in the folder ".nelo" of the user's home, where the chat keeps its files. Creates the
/// folder when it is missing; a failure to do so shows when the file is used.
QString pathInChatFolder(const QString& fileName);
