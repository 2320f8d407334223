#include "chat/core/ChatFolder.h"

#include <QDir>

QString pathInChatFolder(const QString& fileName)
{
    const QDir folder(QDir::home().filePath(QStringLiteral(".nelo")));
    folder.mkpath(QStringLiteral("."));
    return folder.filePath(fileName);
}
