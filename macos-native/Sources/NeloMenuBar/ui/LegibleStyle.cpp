#include "ui/LegibleStyle.h"

#include "ui/Colors.h"
#include "ui/IconTheme.h"

#include <QApplication>
#include <QIcon>

LegibleStyle::LegibleStyle(QStyle* style, ColorScheme scheme) : QProxyStyle(style), m_scheme(scheme)
{}

void LegibleStyle::install(ColorScheme scheme)
{
    if (auto* installed = qobject_cast<LegibleStyle*>(QApplication::style())) {
        installed->m_scheme = scheme;
        QApplication::setPalette(QPalette()); // sets no color; the style polishes the theme's palette again
    } else {
        QApplication::setStyle(new LegibleStyle(QApplication::style(), scheme));
    }
    const QString iconTheme = iconThemeFor(QIcon::themeName(), Colors::isDark(QApplication::palette()));
    if (iconTheme != QIcon::themeName()) // a theme that is set follows no change of the desktop's
        QIcon::setThemeName(iconTheme);
}

void LegibleStyle::polish(QPalette& palette)
{
    QProxyStyle::polish(palette);
    palette = Colors::legible(Colors::inScheme(palette, m_scheme));
}
