#pragma once

#include <QColor>
#include <QPalette>

/// The colours that windows share; everything else comes from the palette.
namespace Colors {

/// A grey between black (0) and white (1).
QColor white(double whiteness);

/// The colour for text of less weight, made from the palette's text and window colours so that it keeps a contrast of
/// at least 4.5:1 to the latter (WCAG 2.1, 1.4.3), which the palette's placeholder colour does not.
QColor secondaryText(const QPalette& palette);

/// The contrast of two opaque colours, 1 to 21, as WCAG 2.1 defines it.
double contrast(const QColor& one, const QColor& other);

/// `palette` with those of its colours mended that leave a text, a placeholder or a selected one, with less than 4.5:1
/// of contrast to what it stands on. Themes leave both to chance.
QPalette legible(QPalette palette);

/// The palette of a light appearance, for views whose background is a fixed light colour: their text must not follow a
/// dark system theme. Its window colour is `background`.
QPalette lightAppearance(const QColor& background);

} // namespace Colors
