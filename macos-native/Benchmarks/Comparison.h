#pragma once

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEvent>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

#include <sched.h>

/// What the benchmarks that show windows share.
namespace Comparison {

/// Knows whether anything was painted since it was made.
class PaintObserver final : public QObject
{
public:
    PaintObserver() { QCoreApplication::instance()->installEventFilter(this); }

    bool hasPainted() const { return m_hasPainted; }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        m_hasPainted = m_hasPainted || event->type() == QEvent::Paint;
        return QObject::eventFilter(watched, event);
    }

private:
    bool m_hasPainted = false;
};

/// Milliseconds from here to the end of the event in which what `work` changed is painted.
inline double millisecondsToPaint(const std::function<void()>& work)
{
    const PaintObserver observer;
    QElapsedTimer timer;
    timer.start();
    work();
    while (!observer.hasPainted())
        QCoreApplication::processEvents();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

inline double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Has `ours` and `bare`, which return how long they took in milliseconds, alternate, and prints the ratios of their
/// times as median, minimum and maximum.
inline void compare(const char* name, const std::function<double()>& ours, const std::function<double()>& bare)
{
    constexpr int rounds = 51;
    ours(); // both sides warm
    bare();
    std::vector<double> oursTimes;
    std::vector<double> bareTimes;
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
        const bool oursFirst = round % 2 == 0;
        const double first = oursFirst ? ours() : bare();
        const double second = oursFirst ? bare() : ours();
        oursTimes.push_back(oursFirst ? first : second);
        bareTimes.push_back(oursFirst ? second : first);
        ratios.push_back(oursTimes.back() / bareTimes.back());
    }
    const auto [least, most] = std::minmax_element(ratios.begin(), ratios.end());
    std::printf("%-28s %.2f (%.2f to %.2f), %.2f ms against %.2f ms\n", name, median(ratios), *least, *most,
                median(oursTimes), median(bareTimes));
}

/// Keeps this process, and the helper that it starts, on one core.
inline void useOneCore()
{
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(0, &one);
    sched_setaffinity(0, sizeof one, &one);
}

/// Has the backend be the Python text `module`, in a working directory and a home below `folder`.
inline void useBackend(const QTemporaryDir& folder, const char* module)
{
    const QString hub = folder.filePath(QStringLiteral("nelohub"));
    QDir().mkpath(hub);
    QDir::setCurrent(hub);
    qputenv("HOME", QFile::encodeName(folder.path()));
    QFile file(QStringLiteral("app.py"));
    if (!file.open(QFile::WriteOnly) || file.write(module) < 0)
        qFatal("the backend cannot be written");
}

} // namespace Comparison
