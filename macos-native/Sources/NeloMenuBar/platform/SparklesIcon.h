#pragma once

#include <QIcon>

/// Three four-point stars, drawn as paths at whatever size is asked for.
QIcon sparklesIcon();
