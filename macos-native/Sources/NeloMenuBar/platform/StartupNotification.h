#pragma once

#include <QByteArray>

/// Tells an X11 desktop that the start which it calls `id` is complete, so that it takes its busy pointer away: a
/// program that shows no window does not tell it otherwise. Does nothing on others. See "Startup Notification Protocol"
/// at freedesktop.org.
void completeStartup(const QByteArray& id);
