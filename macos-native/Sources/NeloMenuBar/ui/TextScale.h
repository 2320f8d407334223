#pragma once

#include <QSize>

/// Scales `given`, a measure in device-independent pixels for text of ordinary size, to the text of this desktop. The
/// result is the same as `given` with the fonts that desktops come with, and larger in proportion when the user has
/// made the font larger. Use it for the size of controls with text, and not for the gaps between them.
int scaledToFont(int given);

/// Scales both measures of a size.
QSize scaledToFont(QSize given);

/// Scales the size of a window, but not beyond the room that the screen has for it and its frame. Returns at least
/// `given`.
QSize scaledWindowSize(QSize given);
