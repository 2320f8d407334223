#pragma once

#include "backend/BackendReply.h"

#include <optional>

class QWidget;

/// Shows a modal alert with `title`, `text` and one OK button, and returns when the user has closed it.
///
/// Both are plain text. A long text scrolls, so that the alert fits on the screen and its button can be reached. The
/// call runs an event loop: objects of the caller may have been deleted when it returns.
void showAlert(QWidget* parent, const QString& title, const QString& text);

/// The user's answer to a dialog.
enum class DialogAnswer { Accepted, Cancelled };

/// Shows a modal dialog with `title`, `text`, `accessory`, which may be null, and two buttons: `firstButton`, which is
/// the default, and "Cancel", which Escape presses. Returns the user's answer.
///
/// The accessory belongs to the caller, who can read it afterwards. Everything else is as in `showAlert`.
DialogAnswer runDialog(QWidget* parent, const QString& title, const QString& text, QWidget* accessory,
                       const QString& firstButton);

/// Calls the backend's `function` with `args`, blocks until it has answered, and returns its reply. When the call
/// fails, shows the whole reply in an alert with the title `failureTitle` over `parent`, and returns nothing. The alert
/// runs an event loop, as in `showAlert`.
[[nodiscard]] std::optional<BackendReply> callOrAlert(QWidget* parent, const QString& failureTitle,
                                                      std::string_view function, const std::vector<Json>& args = {});
