#include "platform/RuntimeFolder.h"

#include <cstdlib>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t accessOfOthers = S_IRWXG | S_IRWXO;

/// In a folder that everybody writes to, what has our name need not be ours.
bool isOursAlone(const std::filesystem::path& folder)
{
    struct stat status
    {};
    return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid()
           && (status.st_mode & accessOfOthers) == 0;
}

} // namespace

std::optional<std::filesystem::path> runtimeFolder()
{
    if (const char* given = std::getenv("XDG_RUNTIME_DIR")) {
        const std::filesystem::path folder(given);
        if (folder.is_absolute() && isOursAlone(folder))
            return folder;
    }
    std::error_code failure;
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path(failure) / ("nelo-" + std::to_string(geteuid()));
    if (failure)
        return std::nullopt;
    mkdir(folder.c_str(), S_IRWXU); // it may be there
    return isOursAlone(folder) ? std::optional(folder) : std::nullopt;
}
