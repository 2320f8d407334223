// How long the main thread stands still while 200 records of 100 KB are written: the longest time between two ticks of
// a timer of one millisecond, beside the time that encoding and writing take in place.

#include "chat/ChatHistory.h"
#include "chat/ChatHistoryWriter.h"
#include "shell/primitives/files/AtomicFile.h"
#include "support/TestHome.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

using namespace std::chrono_literals;

namespace {

double milliseconds(const QElapsedTimer& timer)
{
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

/// Milliseconds that the whole work takes on this thread; leaves no file.
double timeInPlace(const QList<NeloChatMessage>& messages)
{
    QElapsedTimer timer;
    timer.start();
    if (writeFileAtomically(neloChatHistoryURL(), encodeChatMessages(messages)))
        std::abort();
    const double time = milliseconds(timer);
    QFile::remove(neloChatHistoryURL());
    return time;
}

/// The longest time between two ticks until the file is there.
double longestStall(QList<NeloChatMessage>& messages)
{
    ChatHistoryWriter writer([&messages]() -> QList<NeloChatMessage>& { return messages; });
    double longest = 0;
    QElapsedTimer sinceTick;
    QTimer tick;
    tick.setTimerType(Qt::PreciseTimer);
    QObject::connect(&tick, &QTimer::timeout, &tick, [&] {
        longest = std::max(longest, milliseconds(sinceTick));
        sinceTick.start();
        if (QFile::exists(neloChatHistoryURL()))
            QCoreApplication::quit();
    });
    tick.start(1ms);
    sinceTick.start();
    writer.persistMessages();
    QCoreApplication::exec();
    return longest;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const TestHome home;
    const QString text(100 * 1024 / 3, QChar(u'你')); // three bytes each
    QList<NeloChatMessage> messages(200, NeloChatMessage::now(QStringLiteral("assistant"), text));
    const double inPlace = timeInPlace(messages);
    std::printf("longest stall %.1f ms, in place %.0f ms\n", longestStall(messages), inPlace);
    return EXIT_SUCCESS;
}
