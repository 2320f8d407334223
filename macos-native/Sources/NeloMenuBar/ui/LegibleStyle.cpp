#include "ui/LegibleStyle.h"

#include "ui/Colors.h"

#include <QApplication>
#include <QDir>
#include <QIcon>

#include <algorithm>

namespace {

bool isInstalled(const QString& name)
{
    const QStringList folders = QIcon::themeSearchPaths();
    return std::any_of(folders.cbegin(), folders.cend(), [&name](const QString& folder) {
        return QFileInfo::exists(QDir(folder).filePath(name + QStringLiteral("/index.theme")));
    });
}

} // namespace

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

QString iconThemeFor(const QString& name, bool isDark)
{
    const QString suffix = QStringLiteral("-dark");
    if (name.endsWith(suffix, Qt::CaseInsensitive) == isDark)
        return name;
    const QStringList others =
        isDark ? QStringList{name + suffix, name + QStringLiteral("-Dark")} : QStringList{name.chopped(suffix.size())};
    const auto other = std::find_if(others.cbegin(), others.cend(), isInstalled);
    return other == others.cend() ? name : *other;
}
