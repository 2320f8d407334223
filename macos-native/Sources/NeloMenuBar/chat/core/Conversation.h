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
/// A worker thread waits until the conversation has not changed for a while, and then writes it, so that a busy main
/// thread delays no write. A failure is not told: the earlier file stays, and the conversation goes on.
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

    /// Reads all messages of the history file. When there are none, the conversation begins with the welcome message,
    /// and a write is scheduled. The first write copies a file that cannot be used, before it replaces it: the copy's
    /// name ends in ".unreadable." and the time. Call this once, before anything else.
    void load();

    /// Appends a message that is created now, and returns it. It is not written before `schedulePersist()`.
    NeloChatMessage appendMessage(const QString& role, const QString& content);

    /// Schedules a write `persistDelay` from now. It takes the place of a write that is scheduled already.
    void schedulePersist();

    /// Drops all messages but the last `maxMessages`, also in memory, and writes these to the history file. Blocks
    /// until they are on the disk. The worker calls it. Call it from another thread only while no write is scheduled.
    void persistMessages();

private:
    using Clock = std::chrono::steady_clock;

    void persistWhenDue();

    const std::chrono::milliseconds m_persistDelay;
    bool m_mayReplaceFile = true; // `load()` sets it, and afterwards only `persistMessages()` uses it

    mutable std::mutex m_mutex; // guards all that follows
    QList<NeloChatMessage> m_messages;
    std::optional<Clock::time_point> m_dueTime; // of the write that is scheduled
    std::condition_variable m_dueTimeReset;
    bool m_isWorkerRunning = false;
    std::thread m_worker; // runs while a write is scheduled or under way
};
