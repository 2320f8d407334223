#pragma once

#include "chat/core/NeloChatMessage.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

/// Returns the path of the history file, ".nelo/menubar_chat_history.json" in the user's home. Creates the folder when
/// it is missing.
QString neloChatHistoryURL();

/// The conversation of the chat, and its copy on the disk.
///
/// A worker thread waits until the conversation has not changed for a while, and then writes it: a main thread that is
/// busy delays no write. All failures are silent; the earlier file stays then, and the conversation goes on.
class Conversation final
{
public:
    static constexpr qsizetype maxMessages = 200;
    static constexpr std::chrono::milliseconds defaultPersistDelay{400};

    explicit Conversation(std::chrono::milliseconds persistDelay = defaultPersistDelay);
    Conversation(const Conversation&) = delete;
    Conversation& operator=(const Conversation&) = delete;
    /// Drops a write that is scheduled, and waits for one that has begun.
    ~Conversation();

    /// Returns the messages, oldest first. Any thread may call.
    QList<NeloChatMessage> messages() const;

    /// Reads the history file, all of it however long it is. A conversation that is empty then begins with the welcome
    /// message, and a write is scheduled. A file that cannot be used stays: the first write copies it to its name,
    /// ".unreadable." and the time, before it replaces it. Call it once, before anything else.
    void load();

    /// Appends a message that is created now, and returns it. It is not written before `schedulePersist()`.
    NeloChatMessage appendMessage(const QString& role, const QString& content);

    /// Schedules a write `persistDelay` from now, instead of one that is scheduled already.
    void schedulePersist();

    /// Drops all messages but the last `maxMessages`, also in memory, and replaces the history file by them. Blocks
    /// until they are on the disk. The worker calls it; call it from elsewhere only while nothing is scheduled.
    void persistMessages();

private:
    using Clock = std::chrono::steady_clock;

    void persistWhenDue();

    const std::chrono::milliseconds m_persistDelay;
    bool m_mayReplaceFile = true; // set by `load()`, and from then on used by `persistMessages()` alone

    mutable std::mutex m_mutex; // guards all that follows
    QList<NeloChatMessage> m_messages;
    std::optional<Clock::time_point> m_dueTime; // of the write that is scheduled
    std::condition_variable m_dueTimeReset;
    bool m_isWorkerRunning = false;
    std::thread m_worker; // runs while a write is scheduled or under way
};
