#pragma once

/// Anything may take this many times as long as usual: the manuals of the sanitizers name such factors, and a build
/// that counts executed lines is not optimised and counts with atomic instructions.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || !defined(__OPTIMIZE__)
constexpr int slowness = 15;
#else
constexpr int slowness = 1;
#endif
