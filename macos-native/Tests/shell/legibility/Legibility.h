#pragma once

#include <QStringList>

class QColor;
class QWidget;

/// What is wrong with a window for one who has to read it; each finding is a line of text, and none is a good window.
namespace Legibility {

/// Texts that have less room than they need, widgets outside of what the window shows and can scroll to, and forms that
/// scroll sideways.
QStringList clippedTexts(QWidget& window);

/// Widgets that lie on their siblings.
QStringList overlaps(const QWidget& window);

/// Texts whose contrast with what they stand on, as the window paints them, is below 4.5:1 (WCAG 2.1, 1.4.3).
QStringList faintTexts(QWidget& window);

/// Widgets in which selected text would be fainter than that.
QStringList faintSelections(const QWidget& window);

} // namespace Legibility
