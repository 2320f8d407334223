#pragma once

#include <QIcon>

/// Returns an icon of three stars with four points. They are drawn as paths, and so are sharp at any size.
QIcon sparklesIcon();
