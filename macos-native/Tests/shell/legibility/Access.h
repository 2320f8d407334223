#pragma once

#include <QStringList>

class QWidget;

/// What keeps users who hear a window, or work it by keyboard, from what others see and click in it; each finding is a
/// line of text, and none is a good window.
namespace Access {

/// What `window` has in its accessible tree without a name: whatever can be operated or bears a text.
QStringList nameless(QWidget& window);

/// Texts that `window` shows and its accessible tree does not tell.
QStringList untold(QWidget& window);

/// Enabled controls and links of `window` that Tab does not come to from the first one.
QStringList beyondTab(QWidget& window);

/// Where Tab does not go through `window` in the order in which it is read: line by line, each from the left.
QStringList outOfOrder(QWidget& window);

/// Controls of `window`, which is active, that look the same with the keyboard as without it.
QStringList withoutSight(QWidget& window);

/// Labels of `window` that would show markup, except those that are a link of ours.
QStringList rich(const QWidget& window);

} // namespace Access
