#pragma once

#include <QIcon>

/// The user's own image for the status bar, "Desktop/nelo.png" in the home folder, 18 by 18 points and in its own
/// colours; a null icon when there is no image in that file.
QIcon menuBarImage();
