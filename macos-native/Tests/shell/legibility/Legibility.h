#pragma once

#include <QStringList>

class QColor;
class QWidget;

/// Finds what users cannot read in a window. Each finding is a line of text. A good window has no findings.
namespace Legibility {

/// Returns the texts that have less room than they need, the widgets that lie outside of the window and cannot be
/// scrolled to, and the forms that scroll sideways.
QStringList clippedTexts(QWidget& window);

/// Returns the widgets that overlap their siblings.
QStringList overlaps(const QWidget& window);

/// Returns the texts whose contrast to their background, as the window paints them, is below 4.5:1 (WCAG 2.1, 1.4.3).
QStringList faintTexts(QWidget& window);

/// Returns the widgets in which selected text would have less contrast than that.
QStringList faintSelections(const QWidget& window);

} // namespace Legibility
