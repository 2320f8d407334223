#include "backend/ProjectRoot.h"

std::filesystem::path projectRoot(const std::filesystem::path& workingDirectory,
                                  const std::filesystem::path& mainSourceFile)
{
    if (workingDirectory.filename() == "macos-native")
        return workingDirectory.parent_path();
    if (workingDirectory.filename() == "nelohub")
        return workingDirectory;
    // <root>/macos-native/Sources/NeloMenuBar/main.cpp
    return mainSourceFile.parent_path().parent_path().parent_path().parent_path();
}
