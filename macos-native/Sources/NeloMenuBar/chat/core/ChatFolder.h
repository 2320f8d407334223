#pragma once

#include <QString>

/// The path of `fileName` in the folder ".nelo" of the user's home, where the chat keeps its files. Creates the folder
/// when it is missing; that this fails shows when the file is used.
QString pathInChatFolder(const QString& fileName);
