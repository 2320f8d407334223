#pragma once

#include <QString>

class QWidget;

/// Shows the modal alert `title` with `text` and one OK button, and returns when it was dismissed.
///
/// Both are plain text. A long text scrolls: the alert never outgrows the screen, and its button stays in reach. The
/// call runs an event loop, so look again before you touch what may have gone meanwhile.
void showAlert(QWidget* parent, const QString& title, const QString& text);

/// What a dialog was answered.
enum class DialogAnswer { Accepted, Cancelled };

/// Asks with the modal dialog `title`, `text` below it, `accessory` (may be none) and the buttons `firstButton`, which
/// is the default, and "Cancel", which Escape presses.
///
/// The accessory is shown in the dialog and afterwards back with its owner, so that it can be read. Else as
/// `showAlert`.
DialogAnswer runDialog(QWidget* parent, const QString& title, const QString& text, QWidget* accessory,
                       const QString& firstButton);
