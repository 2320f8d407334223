#include "chat/core/Conversation.h"

#include "base/AtomicFile.h"
#include "base/Text.h"
#include "chat/core/ChatLog.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <system_error>
#include <tuple>

#ifdef __linux__
#include <sys/resource.h>
#elif defined(__APPLE__)
#include <pthread/qos.h>
#endif

namespace {

/// Lowers the priority of the calling thread: nobody waits for its work.
void yieldToOtherThreads()
{
#ifdef __linux__
    // Of Qt's priorities only that of idle threads has an effect on Linux, and on a busy machine such a thread may
    // never run.
    constexpr int niceIncrement = 10;
    setpriority(PRIO_PROCESS, 0, getpriority(PRIO_PROCESS, 0) + niceIncrement); // this thread only: see setpriority(2)
#elif defined(__APPLE__)
    pthread_set_qos_class_self_np(QOS_CLASS_UTILITY, 0);
#endif
}

/// Copies a history file that could not be used to a file beside it. A file that cannot be read is renamed instead.
/// Returns whether a write to `path` loses nothing now.
bool preserveUnreadableFile(const QString& path)
{
    if (!QFileInfo(path).isFile())
        return true; // there is no file, or something that a write would not replace
    const QString copy = path + QStringLiteral(".unreadable.") + compactTimestamp(QDateTime::currentDateTime());
    const std::optional<QByteArray> json = readFile(path);
    if (!json)
        return QFile::rename(path, copy);
    return !QFileInfo::exists(copy) && !writeFileAtomically(copy, *json);
}

} // namespace

QString neloChatHistoryURL()
{
    return pathInChatFolder(QStringLiteral("menubar_chat_history.json"));
}

Conversation::Conversation(std::chrono::milliseconds persistDelay) : m_persistDelay(persistDelay)
{}

Conversation::~Conversation()
{
    {
        const std::lock_guard lock(m_mutex);
        m_dueTime.reset();
    }
    m_dueTimeReset.notify_one();
    if (m_worker.joinable())
        m_worker.join();
}

QList<NeloChatMessage> Conversation::messages() const
{
    const std::lock_guard lock(m_mutex);
    return m_messages;
}

void Conversation::load()
{
    const QString path = neloChatHistoryURL();
    const std::optional<QByteArray> json = readFile(path);
    const std::optional<QList<NeloChatMessage>> messages = json ? decodeChatMessages(*json) : std::nullopt;
    m_mayReplaceFile = messages || !QFileInfo(path).isFile();
    m_messages = messages.value_or(QList<NeloChatMessage>());
    if (!m_messages.isEmpty())
        return;
    appendMessage(assistantRole, neloWelcomeMessage);
    schedulePersist();
}

NeloChatMessage Conversation::appendMessage(const QString& role, const QString& content)
{
    const NeloChatMessage message = NeloChatMessage::now(role, content);
    const std::lock_guard lock(m_mutex);
    m_messages.append(message);
    return message;
}

void Conversation::schedulePersist()
{
    const std::lock_guard lock(m_mutex);
    m_dueTime = Clock::now() + m_persistDelay;
    if (m_isWorkerRunning)
        return; // the worker reads the due time again before it writes
    if (m_worker.joinable())
        m_worker.join();
    try {
        m_worker = std::thread(&Conversation::persistWhenDue, this);
        m_isWorkerRunning = true;
    } catch (const std::system_error&) {
        // The system has no thread for us now. The next change tries again.
    }
}

void Conversation::persistMessages()
{
    const QList<NeloChatMessage> messages = [this] {
        const std::lock_guard lock(m_mutex);
        m_messages.remove(0, std::max<qsizetype>(0, m_messages.size() - maxMessages));
        return m_messages;
    }();
    const QString path = neloChatHistoryURL();
    m_mayReplaceFile = m_mayReplaceFile || preserveUnreadableFile(path);
    if (m_mayReplaceFile)
        std::ignore = writeFileAtomically(path, encodeChatMessages(messages));
}

/// Runs on the worker: writes when the due time has come, and ends when no write is scheduled.
void Conversation::persistWhenDue()
{
    yieldToOtherThreads();
    std::unique_lock lock(m_mutex);
    while (m_dueTime) {
        const Clock::time_point dueTime = *m_dueTime;
        if (Clock::now() < dueTime) {
            m_dueTimeReset.wait_until(lock, dueTime);
            continue;
        }
        m_dueTime.reset();
        lock.unlock();
        persistMessages();
        lock.lock();
    }
    m_isWorkerRunning = false;
}
