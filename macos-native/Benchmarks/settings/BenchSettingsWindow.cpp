// From the choice of "Settings..." to the painted window, against the same form made bare. The helper runs already, and
// its answer to the one call is part of our time. Openings of the two alternate on one core; ratios of their times are
// printed as minimum, median and maximum.

#include "BareSettingsWindow.h"
#include "backend/NeloBackend.h"
#include "shell/NeloMenuBarApp.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

#include <sched.h>

namespace {

constexpr int rounds = 51;

/// Knows whether any window was painted.
class PaintObserver final : public QObject
{
public:
    bool hasPainted() const { return m_hasPainted; }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        m_hasPainted = m_hasPainted || event->type() == QEvent::Paint;
        return QObject::eventFilter(watched, event);
    }

private:
    bool m_hasPainted = false;
};

/// Milliseconds from here to the end of the event in which the window that `open` shows is painted.
double millisecondsToPaint(const std::function<void()>& open)
{
    PaintObserver observer;
    qApp->installEventFilter(&observer);
    QElapsedTimer timer;
    timer.start();
    open();
    while (!observer.hasPainted())
        QCoreApplication::processEvents();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

double ours()
{
    NeloMenuBarApp app;
    return millisecondsToPaint([&app] { app.openSettings(); });
}

double bare()
{
    std::unique_ptr<QWidget> window;
    return millisecondsToPaint([&window] {
        window = makeBareSettingsWindow();
        window->show();
        window->raise();
        window->activateWindow();
    });
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void compare()
{
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
    std::printf("%-28s %.2f (%.2f to %.2f), %.2f ms against %.2f ms\n", "settings window", median(ratios), *least,
                *most, median(oursTimes), median(bareTimes));
}

void useOneCore()
{
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(0, &one);
    sched_setaffinity(0, sizeof one, &one);
}

/// A backend whose settings document is empty, in the working directory and the home of this process.
void useEmptySettings(const QTemporaryDir& folder)
{
    const QString hub = folder.filePath(QStringLiteral("nelohub"));
    QDir().mkpath(hub);
    QDir::setCurrent(hub);
    qputenv("HOME", QFile::encodeName(folder.path()));
    QFile module(QStringLiteral("app.py"));
    if (module.open(QFile::WriteOnly))
        module.write("def load_nelo_settings(): return {}\n");
}

} // namespace

int main(int argc, char* argv[])
{
    useOneCore();
    const QTemporaryDir folder;
    useEmptySettings(folder);
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Nelo"));
    QApplication::setApplicationName(QStringLiteral("BenchSettingsWindow"));
    QApplication::setQuitOnLastWindowClosed(false);
    compare();
    NeloBackend::shutdown();
    QDir::setCurrent(QDir::rootPath());
    return 0;
}
