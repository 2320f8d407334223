#pragma once

#include "chat/core/NeloChatMessage.h"

#include <QObject>
#include <QThreadPool>
#include <QTimer>

#include <functional>

/// Keeps the conversation on the disk, a little after it changed and never on the main thread: the list is capped and
/// copied there, and one worker encodes the copies and writes them, in order. Failures are silent and leave the earlier
/// file; the conversation goes on.
///
/// A write that is merely scheduled goes away with the object; one that has begun is waited for.
class ChatHistoryWriter final : public QObject
{
    Q_OBJECT

public:
    /// Gives the owner's list; called on the main thread, when the list is written.
    using Messages = std::function<QList<NeloChatMessage>&()>;

    explicit ChatHistoryWriter(Messages messages, QObject* parent = nullptr);

    /// Says, before any write, that loading found a file that could not be used: whatever becomes of it until then, the
    /// first write copies it aside before it replaces it.
    void keepUnreadableFile();

    /// Writes the list 0.4 seconds from now, and not when this is called again before.
    void schedulePersist();
    /// Caps the owner's list and hands a copy of it to the worker.
    void persistMessages();

private:
    void write(const QList<NeloChatMessage>& messages);

    Messages m_messages;
    QTimer m_timer;
    bool m_mayReplace = true; // the worker's from the first write on: nothing that is there is still to be kept
    QThreadPool m_worker;     // last, so that it has ended before what it uses goes
};
