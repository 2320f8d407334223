#pragma once

#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <sched.h>

/// The way in which the benchmarks measure: our side and a bare side take turns on one core, so that other load on the
/// machine disturbs both. Each result is a line of JSON. table.py makes ratios of them.
namespace Pairs {

/// The measurements for an amount of work (rows, messages, bytes; 0 when there is only one amount), pair by pair.
struct Result
{
    std::string row;
    int work = 0;
    std::vector<double> ours;
    std::vector<double> bare; // empty when there is nothing to compare with
    std::string unit = "ms";
};

inline void print(const char* name, const std::vector<double>& values)
{
    std::printf(R"(, "%s": [)", name);
    for (std::size_t i = 0; i < values.size(); ++i)
        std::printf("%s%.6g", i == 0 ? "" : ", ", values[i]);
    std::printf("]");
}

inline void print(const Result& result)
{
    std::printf(R"({"row": "%s", "work": %d, "unit": "%s")", result.row.c_str(), result.work, result.unit.c_str());
    print("ours", result.ours);
    print("bare", result.bare);
    std::printf("}\n");
    std::fflush(stdout);
}

inline double millisecondsOf(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

/// Runs `ours` and `bare` in pairs, and prints the times of `pairs` pairs. Both return their time in `unit`, and each
/// of them is the first of every second pair. Before each 10 pairs `startAfresh` starts the processes of both sides
/// again: how a process happens to lie in memory must not count as a difference.
inline void compare(
    const std::string& row, int work, int pairs, const std::function<double()>& ours,
    const std::function<double()>& bare, const std::function<void()>& startAfresh = [] {},
    const std::string& unit = "ms")
{
    constexpr int pairsPerStart = 10;
    Result result{row, work, {}, {}, unit};
    for (int pair = 0; pair < pairs; ++pair) {
        if (pair % pairsPerStart == 0) {
            startAfresh();
            ours(); // warms up both sides
            bare();
        }
        const bool oursFirst = pair % 2 == 0;
        const double first = oursFirst ? ours() : bare();
        const double second = oursFirst ? bare() : ours();
        result.ours.push_back(oursFirst ? first : second);
        result.bare.push_back(oursFirst ? second : first);
    }
    print(result);
}

/// Binds this process, and the processes that it starts, to one core.
inline void useOneCore()
{
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(0, &one);
    sched_setaffinity(0, sizeof one, &one);
}

} // namespace Pairs
