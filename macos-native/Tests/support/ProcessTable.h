#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include <sys/types.h>

/// What the kernel says of this process; Linux only, where the tests run.
namespace ProcessTable {

/// The ids of our child processes, zombies included.
inline std::vector<pid_t> children()
{
    std::vector<pid_t> result;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream file(task.path() / "children");
        result.insert(result.end(), std::istream_iterator<pid_t>(file), {});
    }
    return result;
}

/// The ids of our threads.
inline std::set<pid_t> threads()
{
    std::set<pid_t> result;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task"))
        result.insert(std::stoi(task.path().filename()));
    return result;
}

/// Whether the child has exited and nobody has waited for it yet.
inline bool isZombie(pid_t child)
{
    std::ifstream file("/proc/" + std::to_string(child) + "/stat"); // see proc(5)
    const std::string stat{std::istreambuf_iterator<char>(file), {}};
    const std::size_t nameEnd = stat.rfind(") "); // the state follows the name, which may hold anything
    return nameEnd != std::string::npos && stat[nameEnd + 2] == 'Z';
}

/// How many file descriptors are open.
inline int openDescriptors()
{
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<int>(std::distance(begin(entries), end(entries))) - 1; // less the one that lists them
}

} // namespace ProcessTable
