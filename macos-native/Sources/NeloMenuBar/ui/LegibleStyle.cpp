#include "ui/LegibleStyle.h"

#include "ui/Colors.h"
#include "ui/IconTheme.h"

#include <QApplication>
#include <QIcon>

void LegibleStyle::install()
{
    if (!qobject_cast<LegibleStyle*>(QApplication::style()))
        QApplication::setStyle(new LegibleStyle(QApplication::style()));
    QIcon::setThemeName(iconThemeFor(QIcon::themeName(), Colors::isDark(QApplication::palette())));
}

void LegibleStyle::polish(QPalette& palette)
{
    QProxyStyle::polish(palette);
    palette = Colors::legible(palette);
}
