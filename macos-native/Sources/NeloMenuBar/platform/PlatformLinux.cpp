#include "platform/Platform.h"

#include "platform/MenuPosition.h"
#include "platform/SparklesIcon.h"

#include <QCursor>
#include <QGuiApplication>
#include <QMenu>
#include <QScreen>
#include <QSystemTrayIcon>

namespace {

/// Where the item's menu belongs. Desktops that draw the icon themselves do not tell where it is; there the pointer has
/// just clicked it.
QPoint menuPositionOf(const QSystemTrayIcon& item, const QMenu& menu)
{
    const QRect icon = item.geometry();
    const QScreen* screen = QGuiApplication::screenAt(icon.center());
    return icon.isValid() && screen ? menuPosition(icon, menu.sizeHint(), screen->geometry()) : QCursor::pos();
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
            menu->popup(menuPositionOf(*item, *menu));
    });
}

void Platform::onReopen(QObject* /*context*/, const std::function<void()>& /*action*/)
{
    // A second program is started.
}
