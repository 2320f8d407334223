#pragma once

#include <QByteArray>

/// Tells an X11 desktop that the start with the identifier `id` is complete, so that it removes its busy pointer. Qt
/// tells it only when the program shows a window. Does nothing on other desktops. See "Startup Notification Protocol"
/// at freedesktop.org.
void completeStartup(const QByteArray& id);
