#pragma once

#include <QIcon>

class QMenu;
class QSystemTrayIcon;

/// What Qt cannot say for every system; one file per system answers.
namespace Platform {

/// Whether the application shows itself in the Dock.
enum class ActivationPolicy { Accessory, Regular };

void setActivationPolicy(ActivationPolicy policy);

/// Makes this the active application, also from behind another one.
void activateApplication();

/// The "sparkles" symbol for the status bar, legible on light and dark bars, crisp at any scale.
QIcon sparklesSymbol();

/// Has a click on `item` open `menu`, where attaching the menu alone does not.
void openMenuOnClick(QSystemTrayIcon* item, QMenu* menu);

} // namespace Platform
