#pragma once

#include <QIcon>

#include <functional>

class QMenu;
class QObject;
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

/// Runs `action` whenever the user opens the running application again, for as long as `context` lives, on systems that
/// start no second program for that. On others a second program is started; see `SingleInstance`.
void onReopen(QObject* context, const std::function<void()>& action);

} // namespace Platform
