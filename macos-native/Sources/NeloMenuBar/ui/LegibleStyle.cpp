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
        QApplication::setPalette(QPalette()); // which sets no color, but has the style polish the theme's palette again
    } else {
        QApplication::setStyle(new LegibleStyle(QApplication::style(), scheme));
    }
    QIcon::setThemeName(iconThemeFor(QIcon::themeName(), Colors::isDark(QApplication::palette())));
}

void LegibleStyle::polish(QPalette& palette)
{
    QProxyStyle::polish(palette);
    palette = Colors::legible(Colors::inScheme(palette, m_scheme));
}
