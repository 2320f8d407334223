#include "chat/core/NeloChatMessage.h"
#include "fuzz/Invariant.h"

namespace {

qsizetype lengthOf(const QList<NeloChatMessage>& messages)
{
    qsizetype length = 0;
    for (const NeloChatMessage& message : messages)
        length += message.role.size() + message.content.size() + message.createdAt.size();
    return length;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes = QByteArray::fromStdString(bytesOf(data, size));
    QList<NeloChatMessage> messages = decodeChatMessages(bytes).value_or(QList<NeloChatMessage>());
    require(lengthOf(messages) <= bytes.size(), "no text comes from nowhere");
    const QString text = QString::fromUtf8(bytes);
    messages.append({userRole, text, text});
    require(decodeChatMessages(encodeChatMessages(messages)) == messages, "what is written reads the same");
    return 0;
}
