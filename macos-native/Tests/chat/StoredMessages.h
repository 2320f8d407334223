#pragma once

#include "chat/core/Conversation.h"
#include "support/Files.h"

#include <QDir>
#include <QFileInfo>

#include <sys/stat.h>

/// Returns the messages of the history file. The list is empty when there is no usable file.
inline QList<NeloChatMessage> storedMessages()
{
    return decodeChatMessages(Files::contentOf(neloChatHistoryURL())).value_or(QList<NeloChatMessage>());
}

/// Puts `json` in the place of the history file.
inline void storeHistory(const QByteArray& json)
{
    Files::create(neloChatHistoryURL(), json);
}

/// What can be in the place of a file of the chat, so that it cannot be read or written.
enum class FileObstacle { Folder, Pipe, FileAsFolder };

/// Puts `obstacle` in the place of the file `path`, or a file in the place of its folder.
inline void obstruct(const QString& path, FileObstacle obstacle)
{
    const QFileInfo file(path);
    if (obstacle == FileObstacle::Folder)
        QDir().mkpath(path);
    else if (obstacle == FileObstacle::Pipe)
        mkfifo(QFile::encodeName(path).constData(), 0600);
    else if (QDir().rmdir(file.path()))
        Files::create(file.path(), "a file");
}
