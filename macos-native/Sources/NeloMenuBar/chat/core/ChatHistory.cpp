#include "chat/core/ChatHistory.h"

#include "base/AtomicFile.h"
#include "base/Text.h"
#include "chat/core/ChatFolder.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

namespace {

constexpr qsizetype mostRecordsKept = 200;

} // namespace

QString neloChatHistoryURL()
{
    return pathInChatFolder(QStringLiteral("menubar_chat_history.json"));
}

LoadedChatHistory loadChatHistoryFile()
{
    const QString path = neloChatHistoryURL();
    const std::optional<QByteArray> json = readFile(path);
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
    const QString aside = path + QStringLiteral(".unreadable.") + compactTimestamp(now);
    const std::optional<QByteArray> json = readFile(path);
    if (!json)
        return QFile::rename(path, aside);
    return !QFileInfo::exists(aside) && !writeFileAtomically(aside, *json);
}
