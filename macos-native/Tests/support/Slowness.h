#pragma once

/// How many times longer than usual anything may take: the sanitizers' own manuals promise no better.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int slowness = 15;
#else
constexpr int slowness = 1;
#endif
