#include "ui/LegibleStyle.h"

#include "ui/Colors.h"

#include <QApplication>

void LegibleStyle::install()
{
    if (!qobject_cast<LegibleStyle*>(QApplication::style()))
        QApplication::setStyle(new LegibleStyle(QApplication::style()));
}

void LegibleStyle::polish(QPalette& palette)
{
    QProxyStyle::polish(palette);
    palette = Colors::legible(palette);
}
