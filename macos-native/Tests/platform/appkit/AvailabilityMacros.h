/// Qt's headers for macOS include this and do without anything in it.
#pragma once
