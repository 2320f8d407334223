#pragma once

#include <QPoint>
#include <QRect>

/// Where the left upper corner of a menu of the size `menu` belongs that drops from an icon at `icon`: below it, or
/// above it in the lower half of `screen`. All in the coordinates of the desktop.
QPoint menuPosition(const QRect& icon, const QSize& menu, const QRect& screen);
