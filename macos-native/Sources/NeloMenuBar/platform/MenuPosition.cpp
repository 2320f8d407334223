#include "platform/MenuPosition.h"

QPoint menuPosition(const QRect& icon, const QSize& menu, const QRect& screen)
{
    const bool isLow = icon.center().y() > screen.center().y();
    return isLow ? icon.topLeft() - QPoint(0, menu.height()) : icon.bottomLeft() + QPoint(0, 1);
}
