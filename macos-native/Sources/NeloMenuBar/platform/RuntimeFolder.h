#pragma once

#include <filesystem>
#include <optional>

/// A folder for what belongs to one run of the user's session, that nobody else can write to: XDG_RUNTIME_DIR where it
/// is usable (freedesktop.org has relative paths ignored), otherwise one of our own among the temporary files. Nothing
/// when there is neither.
std::optional<std::filesystem::path> runtimeFolder();
