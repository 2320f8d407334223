#pragma once

#include "chat/NeloChatMessage.h"

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

    /// Writes the list 0.4 seconds from now, and not when this is called again before.
    void schedulePersist();
    /// Caps the owner's list and hands a copy of it to the worker. A file that cannot be decoded is copied aside before
    /// the first write replaces it.
    void persistMessages();

private:
    void write(const QList<NeloChatMessage>& messages);

    Messages m_messages;
    QTimer m_timer;
    bool m_mayReplace = false; // the worker's: the file that was there is kept or not worth keeping
    QThreadPool m_worker;      // last, so that it has ended before what it uses goes
};
