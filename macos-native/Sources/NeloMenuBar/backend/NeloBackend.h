#pragma once

#include "base/Json.h"

#include <filesystem>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

/// The bridge to the backend module. This is the Python module `app`, which runs in one long-lived child interpreter.
///
/// The first call starts the helper. It is kept between calls; a failure drops it, and the next call starts a new one.
/// A dropped helper reads the end of its input and ends by itself, and later calls reap it. Every operation takes one
/// lock, so one request is in flight at a time. Any thread may call.
namespace NeloBackend {

/// Runs `function` of the backend module with positional `args`, and blocks until its reply is there. There is no time
/// limit, and no event loop runs meanwhile.
///
/// Returns the result as compact JSON text ("{}" when the reply has none), or a line that begins with "ERROR: ". Never
/// throws.
std::string call(std::string_view function, std::span<const Json> args);

/// Does the same with arguments that stand in the call itself.
inline std::string call(std::string_view function, std::initializer_list<Json> args = {})
{
    return call(function, std::span(args.begin(), args.size()));
}

/// Waits for a call in progress, then ends the helper and every dropped one that is still alive. Returns when all are
/// gone.
void shutdown();

/// Returns the folder in which the helper runs: the repository that holds the backend module.
///
/// A `workingDirectory` named "macos-native" gives its parent, one named "nelohub" gives itself, exactly and with
/// regard to case. Any other gives the repository that `mainSourceFile`, the path recorded at build time, lies in.
/// Nothing is looked up on disk: a folder that does not exist fails when the helper is launched.
std::filesystem::path projectRoot(const std::filesystem::path& workingDirectory,
                                  const std::filesystem::path& mainSourceFile);

} // namespace NeloBackend
