#pragma once

#include "base/Json.h"

#include <string>
#include <string_view>
#include <vector>

/// The one gateway to the backend module: a Python module `app` that runs in one long-lived child interpreter.
///
/// The helper starts with the first call, is kept between calls, and is dropped by a failure; the next call then starts
/// a new one. Every operation takes one lock, so one request is in flight at a time. Any thread may call.
namespace NeloBackend {

/// Runs `function` of the backend module with positional `args` and blocks until its reply is there; there is no time
/// limit, and no event loop runs meanwhile.
///
/// Returns the result as compact JSON text ("{}" when the reply has none), or a line that begins "ERROR: ". Never
/// throws.
std::string call(std::string_view function, const std::vector<Json>& args = {});

/// Ends the helper and every earlier one that is still alive; returns when they are gone. Waits for a call in progress.
void shutdown();

} // namespace NeloBackend
