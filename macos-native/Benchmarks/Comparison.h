#pragma once

#include "Pairs.h"

#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>

/// Functions for the benchmarks that show windows.
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

/// Does `work`, and returns the milliseconds until the end of the event in which its change is painted. Sleeps while
/// there are no events, as a program does: otherwise the display and the window manager would wait for their turn on
/// our core.
inline double millisecondsToPaint(const std::function<void()>& work)
{
    const PaintObserver observer;
    return Pairs::millisecondsOf([&observer, &work] {
        work();
        while (!observer.hasPainted())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    });
}

/// Makes the Python text `module` the backend. The working directory and the home folder are below `folder`.
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
