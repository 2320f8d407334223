#pragma once

#include <QObject>

#include <memory>

/// Knows whether the desktop has a status area, which may come and go, and with it whether a status item can be seen.
///
/// Qt settles how it shows status items when it is first asked for one, and never looks again. So nobody makes one, or
/// asks QSystemTrayIcon anything, before `isAvailable()` has been true once.
class StatusArea : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    virtual bool isAvailable() const = 0;

signals:
    /// It has come or gone.
    void changed();
};

/// The status area of this desktop. Some are only known to be there once the event loop runs.
std::unique_ptr<StatusArea> desktopStatusArea();
