#include "chat/core/ChatLog.h"

#include "base/AtomicFile.h"
#include "base/Text.h"
#include "chat/core/ChatFolder.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <tuple>

QString neloChatLogURL()
{
    return pathInChatFolder(QStringLiteral("menubar_chat.log"));
}

void neloChatLog(const QString& message)
{
    const QByteArray line =
        QStringLiteral("[%1] %2\n").arg(isoTimestamp(QDateTime::currentDateTimeUtc()), message).toUtf8();
    const QString path = neloChatLogURL();
    if (!QFileInfo::exists(path)) {
        std::ignore = writeFileAtomically(path, line);
        return;
    }
    QFile log(path);
    if (!QFileInfo(path).isFile() || !log.open(QFile::WriteOnly | QFile::Append | QFile::Unbuffered))
        return;
    const qint64 sizeBefore = log.size();
    if (log.write(line) != line.size())
        log.resize(sizeBefore); // the next entry would go on in the line that has only begun
}
