#pragma once

/// Anything may take this many times as long as usual: the manuals of the sanitizers name such factors, and a build for
/// coverage or for a debugger is not optimised.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int slowness = 15;
#elif !defined(__OPTIMIZE__)
constexpr int slowness = 5;
#else
constexpr int slowness = 1;
#endif
