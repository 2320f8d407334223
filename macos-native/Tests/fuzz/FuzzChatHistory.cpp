#include "chat/core/ChatHistory.h"
#include "fuzz/Invariant.h"

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstring>

namespace {

constexpr qsizetype mostRecordsKept = 200;

void write(const QByteArray& bytes)
{
    QFile file(neloChatHistoryURL());
    require(file.open(QFile::WriteOnly) && file.write(bytes) == bytes.size(), "there is room for the history");
}

qsizetype lengthOf(const QList<NeloChatMessage>& messages)
{
    qsizetype length = 0;
    for (const NeloChatMessage& message : messages)
        length += message.role.size() + message.content.size() + message.createdAt.size();
    return length;
}

/// A record with the bytes as UTF-16, for half a character can be pasted too.
NeloChatMessage recordOf(const QByteArray& bytes)
{
    QString text(bytes.size() / static_cast<qsizetype>(sizeof(QChar)), u'\0');
    std::memcpy(text.data(), bytes.data(), static_cast<std::size_t>(text.size()) * sizeof(QChar));
    return {QStringLiteral("user"), text, text};
}

void requireWrittenReadsTheSame(const QList<NeloChatMessage>& messages)
{
    write(encodeChatMessages(messages));
    const LoadedChatHistory again = loadChatHistoryFile();
    require(!again.isUnreadable && again.messages == messages, "what is written reads the same");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());

    const QByteArray bytes = QByteArray::fromStdString(bytesOf(data, size));
    write(bytes);
    LoadedChatHistory loaded = loadChatHistoryFile();
    require(!loaded.isUnreadable || loaded.messages.isEmpty(), "nothing comes from a file that cannot be used");
    require(lengthOf(loaded.messages) <= bytes.size(), "no text comes from nowhere");
    requireWrittenReadsTheSame(loaded.messages);
    requireWrittenReadsTheSame({recordOf(bytes)});

    const QList<NeloChatMessage> all = loaded.messages;
    capChatHistory(loaded.messages);
    require(loaded.messages == all.last(std::min(all.size(), mostRecordsKept)), "the newest records are kept");
    return 0;
}
