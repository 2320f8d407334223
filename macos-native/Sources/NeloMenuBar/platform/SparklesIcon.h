#pragma once

#include <QIcon>

#include <array>

/// The sizes of a status item's picture in pixels, as panels ask for them at scale 1 and 2.
inline constexpr std::array panelIconSides{16, 18, 22, 24, 32, 36, 44, 48, 64};

/// Returns an icon of three stars with four points. They are drawn as paths, and so are sharp at any size.
QIcon sparklesIcon();
