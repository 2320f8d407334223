#pragma once

#include <QString>

class QWidget;

/// Shows a modal alert with `title`, `text` and one OK button, and returns when the user has closed it.
///
/// Both are plain text. A long text scrolls: the alert never outgrows the screen, and its button can always be reached.
/// The call runs an event loop: objects of the caller may be gone when it returns.
void showAlert(QWidget* parent, const QString& title, const QString& text);

/// The user's answer to a dialog.
enum class DialogAnswer { Accepted, Cancelled };

/// Shows a modal dialog with `title`, `text`, `accessory`, which may be null, and two buttons: `firstButton`, which is
/// the default, and "Cancel", which Escape presses. Returns the user's answer.
///
/// The accessory still belongs to the caller afterwards, so that it can be read. Everything else is as in `showAlert`.
DialogAnswer runDialog(QWidget* parent, const QString& title, const QString& text, QWidget* accessory,
                       const QString& firstButton);
