#pragma once

#include <QSize>

/// `given`, a measure in device-independent pixels for text of ordinary size, as it has to be for the text of this
/// desktop: the same with any font that desktops come with, and larger in proportion with one that the user has made
/// larger. For what holds text; what is between things stays as it is.
int scaledToFont(int given);

/// The same for both measures of a size.
QSize scaledToFont(QSize given);

/// The same for a window: no larger than the screen has room for it and its frame, unless it was given so.
QSize windowGrownWithText(QSize given);
