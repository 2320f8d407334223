#pragma once

#include <QIcon>

/// Returns the user's own image for the status bar: the file "Desktop/nelo.png" in the home folder, 18 by 18 points, in
/// its own colors. Returns a null icon when the file holds no image.
QIcon menuBarImage();
