// How long the main thread stands still while a history of records of 100 KB is written: the longest time between two
// ticks of a timer of one millisecond, beside the time that encoding and writing take in place.

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

/// Milliseconds that the whole work takes on this thread; leaves no file.
double timeInPlace(const QList<NeloChatMessage>& messages)
{
    const double time = Pairs::millisecondsOf([&messages] {
        if (writeFileAtomically(neloChatHistoryURL(), encodeChatMessages(messages)))
            std::abort();
    });
    QFile::remove(neloChatHistoryURL());
    return time;
}

/// The longest time between two ticks until the file is there.
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
