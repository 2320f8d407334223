#include "ui/IconTheme.h"

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
