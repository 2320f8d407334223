#include "chat/client/ChatUpload.h"

#include <algorithm>

ChatUpload::ChatUpload(QByteArray bytes) : m_bytes(std::move(bytes))
{
    open(ReadOnly | Unbuffered);
}

void ChatUpload::setPolicy(std::function<bool()> mayBeSentAgain)
{
    m_mayBeSentAgain = std::move(mayBeSentAgain);
}

bool ChatUpload::reset()
{
    return m_mayBeSentAgain && m_mayBeSentAgain() && QIODevice::reset();
}

qint64 ChatUpload::readData(char* data, qint64 maximum)
{
    const QByteArrayView rest = QByteArrayView(m_bytes).sliced(pos());
    const qint64 count = std::min(maximum, rest.size());
    std::copy_n(rest.data(), count, data);
    return count;
}

qint64 ChatUpload::writeData(const char* /*data*/, qint64 /*size*/)
{
    return -1;
}
