#include "platform/BaseFolders.h"

#include <cstdlib>
#include <filesystem>

void ignoreRelativeBaseFolders()
{
    for (const char* name :
         {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME", "XDG_RUNTIME_DIR"}) {
        const char* folder = std::getenv(name);
        if (folder != nullptr && std::filesystem::path(folder).is_relative())
            unsetenv(name);
    }
}
