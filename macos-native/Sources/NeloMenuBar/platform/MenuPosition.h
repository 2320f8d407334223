#pragma once

#include <QPoint>
#include <QRect>

/// Returns the place of the upper left corner of a menu that opens from an icon. `menu` is the menu's size, `icon` the
/// icon's place. The menu is below the icon, or above it in the lower half of `screen`. All coordinates are the
/// desktop's.
QPoint menuPosition(const QRect& icon, const QSize& menu, const QRect& screen);
