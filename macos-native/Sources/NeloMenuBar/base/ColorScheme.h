#pragma once

/// The color scheme that a desktop's user prefers. It is unknown where the desktop does not tell.
enum class ColorScheme { Unknown, Light, Dark };
