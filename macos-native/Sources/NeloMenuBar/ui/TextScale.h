#pragma once

#include <QSize>

/// Gives the application text of 13 device-independent pixels where the desktop tells Qt no font. Qt's own has 12. Call
/// it once, at the start.
void setDefaultFont();

/// Scales `given`, a measure in device-independent pixels for text of 13 of them, to the text of this desktop. The
/// result is the same as `given` where that is no larger. Use it for the size of controls with text, and not for the
/// gaps between them.
int scaledToFont(int given);

/// Scales both measures of a size.
QSize scaledToFont(QSize given);

/// Scales `given`, a text's size in device-independent pixels for a desktop whose text has 13 of them, and returns it
/// in points. Larger and smaller texts of the desktop change it by the same factor. Unlike pixels points have
/// fractions: on GNOME, whose text has 14.67 pixels, text of 13 becomes exactly as large.
double pointsScaledToFont(int given);

/// Scales the size of a window, but not beyond the room that the screen has for it and its frame. Returns `given` with
/// the fonts that desktops come with, which there is room for, and at least `given` with larger ones.
QSize scaledWindowSize(QSize given);
