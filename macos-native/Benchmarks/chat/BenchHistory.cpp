// How long the main thread is blocked while a history with records of 100 KB is written: the longest time between two
// ticks of a timer of one millisecond. It is compared with the time that encoding and writing take on the main thread.

#include "Pairs.h"
#include "base/AtomicFile.h"
#include "chat/core/Conversation.h"
#include "support/TestHome.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdlib>

using namespace std::chrono_literals;

namespace {

/// Returns the milliseconds that all the work takes on this thread. Removes the file.
double timeInPlace(const QList<NeloChatMessage>& messages)
{
    const double time = Pairs::millisecondsOf([&messages] {
        if (writeFileAtomically(neloChatHistoryURL(), encodeChatMessages(messages)))
            std::abort();
    });
    QFile::remove(neloChatHistoryURL());
    return time;
}

/// Returns the longest time between two ticks until the file exists.
double maxStall(const QList<NeloChatMessage>& messages)
{
    Conversation conversation(1ms);
    for (const NeloChatMessage& message : messages)
        conversation.appendMessage(message.role, message.content);
    double longest = 0;
    QElapsedTimer sinceTick;
    QTimer tick;
    tick.setTimerType(Qt::PreciseTimer);
    QObject::connect(&tick, &QTimer::timeout, &tick, [&] {
        longest = std::max(longest, static_cast<double>(sinceTick.nsecsElapsed()) / 1e6);
        sinceTick.start();
        if (QFile::exists(neloChatHistoryURL()))
            QCoreApplication::quit();
    });
    tick.start(1ms);
    sinceTick.start();
    conversation.schedulePersist();
    QCoreApplication::exec();
    QFile::remove(neloChatHistoryURL());
    return longest;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const TestHome home;
    const QString text(100 * 1024 / 3, QChar(u'你')); // three bytes each
    for (const int records : {2, 20, 200}) {
        const QList<NeloChatMessage> messages(records, NeloChatMessage::now(assistantRole, text));
        Pairs::compare(
            "history write, longest stall", records, 9, [&messages] { return maxStall(messages); },
            [&messages] { return timeInPlace(messages); });
    }
    return EXIT_SUCCESS;
}
