#pragma once

#include <QStringList>

class QWidget;

/// Finds what users who hear a window, or operate it with the keyboard, would miss. Each finding is a line of text. A
/// good window has no findings.
namespace Access {

/// Returns the parts of `window` that can be operated or show a text, and have no name in the accessible tree.
QStringList withoutName(QWidget& window);

/// Returns the texts that `window` shows and that its accessible tree does not contain.
QStringList withoutAccessibleText(QWidget& window);

/// Returns the enabled controls and links of `window` that Tab does not reach from the first one.
QStringList notReachedByTab(QWidget& window);

/// Returns where Tab does not go through `window` in the order of reading: line by line, each line from the left.
QStringList outOfOrder(QWidget& window);

/// Returns the controls of `window` that look the same with the keyboard focus as without it. The window is active.
QStringList withoutVisibleFocus(QWidget& window);

/// Returns the labels of `window` that would interpret markup, except those with a link of ours.
QStringList withRichText(const QWidget& window);

} // namespace Access
