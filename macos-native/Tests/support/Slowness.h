#pragma once

/// How many times longer than usual anything may take: the sanitizers' own manuals promise no better, and a build that
/// counts or is debugged is not optimised.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int slowness = 15;
#elif !defined(__OPTIMIZE__)
constexpr int slowness = 5;
#else
constexpr int slowness = 1;
#endif
