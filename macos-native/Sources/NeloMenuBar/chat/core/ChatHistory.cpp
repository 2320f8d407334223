#include "chat/core/ChatHistory.h"

#include "base/AtomicFile.h"
#include "chat/core/ChatFolder.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

namespace {

constexpr qsizetype mostRecordsKept = 200;

/// All of a regular file (to read a pipe would be to wait); nothing when it is missing or cannot be read.
std::optional<QByteArray> contentOf(const QString& path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QFile::ReadOnly))
        return std::nullopt;
    const QByteArray bytes = file.readAll();
    return file.error() == QFile::NoError ? std::optional(bytes) : std::nullopt;
}

} // namespace

QString neloChatHistoryURL()
{
    return pathInChatFolder(QStringLiteral("menubar_chat_history.json"));
}

LoadedChatHistory loadChatHistoryFile()
{
    const QString path = neloChatHistoryURL();
    const std::optional<QByteArray> json = contentOf(path);
    const std::optional<QList<NeloChatMessage>> messages = json ? decodeChatMessages(*json) : std::nullopt;
    if (messages)
        return {*messages, false};
    return {{}, QFileInfo(path).isFile()};
}

QList<NeloChatMessage> loadChatHistory()
{
    return loadChatHistoryFile().messages;
}

void capChatHistory(QList<NeloChatMessage>& messages)
{
    if (messages.size() > mostRecordsKept)
        messages.remove(0, messages.size() - mostRecordsKept);
}

bool preserveUnreadableHistory(const QString& path, const QDateTime& now)
{
    if (!QFileInfo(path).isFile())
        return true; // nothing there, or nothing that a write would replace
    const QString aside = path + QStringLiteral(".unreadable.") + now.toString(QStringLiteral("yyyyMMdd-HHmmss"));
    const std::optional<QByteArray> json = contentOf(path);
    if (!json)
        return QFile::rename(path, aside);
    return !QFileInfo::exists(aside) && !writeFileAtomically(aside, *json);
}
