#pragma once

#include "base/ColorScheme.h"

#include <QColor>
#include <QPalette>

/// The colors that windows share. All other colors come from the palette.
namespace Colors {

/// Returns a grey between black (0) and white (1).
QColor white(double whiteness);

/// Returns the color of secondary text. It is mixed from the palette's text and window colors. In Qt's own palettes it
/// has a contrast of at least 4.5:1 to the window color (WCAG 2.1, 1.4.3); their placeholder color has less.
QColor secondaryText(const QPalette& palette);

/// Returns the contrast of two opaque colors, from 1 to 21, as WCAG 2.1 defines it.
double contrast(const QColor& one, const QColor& other);

/// Returns whether the windows of `palette` are darker than their text.
bool isDark(const QPalette& palette);

/// Returns `palette` with other colors for placeholders and selected text where their contrast to the background is
/// less than 4.5:1, and for separators (`QPalette::Mid`) where it is less than 3:1. Many themes have too little
/// contrast for these.
QPalette legible(QPalette palette);

/// Returns `palette`, or one of our own where it is not in the color scheme `scheme`.
QPalette inScheme(const QPalette& palette, ColorScheme scheme);

/// Returns the palette of a light appearance with the window color `background`. It is for views with a fixed light
/// background, whose text must not follow a dark system theme.
QPalette lightAppearance(const QColor& background);

} // namespace Colors
