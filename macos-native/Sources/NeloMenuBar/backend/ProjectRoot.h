#pragma once

#include <filesystem>

/// The folder in which the helper runs: the repository that holds the backend module.
///
/// A `workingDirectory` called "macos-native" gives its parent, one called "nelohub" gives itself, exactly and with
/// regard to case. Any other gives the repository that `mainSourceFile`, the path recorded at build time, lies in.
/// Nothing is looked up on disk: a folder that does not exist fails when the helper is launched.
std::filesystem::path projectRoot(const std::filesystem::path& workingDirectory,
                                  const std::filesystem::path& mainSourceFile);
