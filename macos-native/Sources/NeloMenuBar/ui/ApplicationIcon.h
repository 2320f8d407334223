#pragma once

/// Gives the windows of the application their icon, which X11 desktops show. On Wayland the icon comes from the
/// .desktop file. Call it when the first window is made, and not before: reading pictures loads Qt's readers of all
/// formats, and an idle program without a window has no use for them. Later calls have no effect.
void setApplicationIcon();
