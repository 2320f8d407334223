#include "chat/ChatHistoryWriter.h"

#include "chat/ChatHistory.h"
#include "shell/primitives/files/AtomicFile.h"

#include <QDateTime>
#include <QThread>

#include <tuple>

using namespace std::chrono_literals;

ChatHistoryWriter::ChatHistoryWriter(Messages messages, QObject* parent)
    : QObject(parent), m_messages(std::move(messages))
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(400ms);
    connect(&m_timer, &QTimer::timeout, this, &ChatHistoryWriter::persistMessages);
    m_worker.setMaxThreadCount(1);
    m_worker.setThreadPriority(QThread::IdlePriority); // on Linux the only one below normal that is heeded
}

void ChatHistoryWriter::keepUnreadableFile()
{
    m_mayReplace = false;
}

void ChatHistoryWriter::schedulePersist()
{
    m_timer.start();
}

void ChatHistoryWriter::persistMessages()
{
    QList<NeloChatMessage>& messages = m_messages();
    capChatHistory(messages);
    m_worker.start([this, copy = messages] { write(copy); });
}

void ChatHistoryWriter::write(const QList<NeloChatMessage>& messages)
{
    const QString path = neloChatHistoryURL();
    m_mayReplace = m_mayReplace || preserveUnreadableHistory(path, QDateTime::currentDateTime());
    if (m_mayReplace)
        std::ignore = writeFileAtomically(path, encodeChatMessages(messages));
}
