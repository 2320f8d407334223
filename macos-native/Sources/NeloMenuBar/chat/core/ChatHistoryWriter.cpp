#include "chat/core/ChatHistoryWriter.h"

#include "base/AtomicFile.h"
#include "chat/core/ChatHistory.h"

#include <QDateTime>
#include <QThread>

#include <tuple>

#ifdef __linux__
#include <sys/resource.h>
#endif

using namespace std::chrono_literals;

namespace {

/// Linux heeds none of Qt's priorities but the one of idle threads, which a busy machine would starve.
void yieldToOtherThreads()
{
#ifdef __linux__
    constexpr int niceness = 10;
    setpriority(PRIO_PROCESS, 0, niceness); // of this thread alone, see setpriority(2)
#endif
}

} // namespace

ChatHistoryWriter::ChatHistoryWriter(Messages messages, QObject* parent)
    : QObject(parent), m_messages(std::move(messages))
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(400ms);
    connect(&m_timer, &QTimer::timeout, this, &ChatHistoryWriter::persistMessages);
    m_worker.setMaxThreadCount(1);
    m_worker.setThreadPriority(QThread::LowPriority);
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
    yieldToOtherThreads();
    const QString path = neloChatHistoryURL();
    m_mayReplace = m_mayReplace || preserveUnreadableHistory(path, QDateTime::currentDateTime());
    if (m_mayReplace)
        std::ignore = writeFileAtomically(path, encodeChatMessages(messages));
}
