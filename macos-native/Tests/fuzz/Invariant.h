#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

/// Ends the run, as a finding, unless what `name` says of every input `holds`.
inline void require(bool holds, const char* name)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", name);
    std::abort();
}

/// The input as the bytes that they are.
inline std::string bytesOf(const std::uint8_t* data, std::size_t size)
{
    return {reinterpret_cast<const char*>(data), size};
}
