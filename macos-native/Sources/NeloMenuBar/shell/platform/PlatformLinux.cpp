#include "shell/platform/Platform.h"

#include "shell/platform/SparklesIcon.h"

#include <QCursor>
#include <QGuiApplication>
#include <QMenu>
#include <QScreen>
#include <QSystemTrayIcon>

namespace {

/// Where a menu belongs that drops from an icon at `icon`: below it, or above it in the lower half of the screen.
/// Desktops that draw the icon themselves do not tell where; there the pointer has just clicked it.
QPoint menuPosition(const QRect& icon, const QSize& menu)
{
    if (!icon.isValid())
        return QCursor::pos();
    const QScreen* screen = QGuiApplication::screenAt(icon.center());
    const bool isLow = screen != nullptr && icon.center().y() > screen->geometry().center().y();
    return isLow ? icon.topLeft() - QPoint(0, menu.height()) : icon.bottomLeft() + QPoint(0, 1);
}

} // namespace

void Platform::setActivationPolicy(ActivationPolicy /*policy*/)
{
    // There is no Dock: a desktop lists an application by the windows that it shows.
}

void Platform::activateApplication()
{
    // A window manager activates windows, not applications.
}

QIcon Platform::sparklesSymbol()
{
    return sparklesIcon();
}

void Platform::openMenuOnClick(QSystemTrayIcon* item, QMenu* menu)
{
    QObject::connect(item, &QSystemTrayIcon::activated, menu, [item, menu](QSystemTrayIcon::ActivationReason reason) {
        // Two quick openings of the menu look like a double click.
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
            menu->popup(menuPosition(item->geometry(), menu->sizeHint()));
    });
}

void Platform::onReopen(QObject* /*context*/, const std::function<void()>& /*action*/)
{
    // A second program is started.
}
