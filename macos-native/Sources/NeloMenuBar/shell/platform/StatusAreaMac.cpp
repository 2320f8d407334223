#include "shell/platform/StatusArea.h"

StatusArea::StatusArea(QObject* parent) : QObject(parent), m_hasHost(true)
{}

bool StatusArea::isAvailable() const
{
    return *m_hasHost; // the system's status bar is always there
}

bool StatusArea::eventFilter(QObject* watched, QEvent* event)
{
    return QObject::eventFilter(watched, event);
}
