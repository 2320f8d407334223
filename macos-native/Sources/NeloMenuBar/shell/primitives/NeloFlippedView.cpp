#include "shell/primitives/NeloFlippedView.h"
