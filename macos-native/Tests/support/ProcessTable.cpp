#include "support/ProcessTable.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

namespace {

/// The letter of a process's or a thread's state, see proc(5); none if it has gone.
std::optional<char> stateOf(pid_t task)
{
    std::ifstream file("/proc/" + std::to_string(task) + "/stat");
    const std::string stat{std::istreambuf_iterator<char>(file), {}};
    const std::size_t nameEnd = stat.rfind(") "); // the state follows the name, which may hold anything
    return nameEnd == std::string::npos ? std::nullopt : std::optional(stat[nameEnd + 2]);
}

} // namespace

std::vector<pid_t> ProcessTable::children()
{
    std::vector<pid_t> result;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream file(task.path() / "children");
        result.insert(result.end(), std::istream_iterator<pid_t>(file), {});
    }
    return result;
}

std::set<pid_t> ProcessTable::threads()
{
    std::set<pid_t> result;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task"))
        result.insert(std::stoi(task.path().filename()));
    return result;
}

bool ProcessTable::isAsleep(pid_t thread)
{
    return stateOf(thread) == 'S';
}

bool ProcessTable::hasPending(pid_t thread, int signal)
{
    std::ifstream file("/proc/" + std::to_string(thread) + "/status");
    std::string word;
    while (file >> word && word != "SigPnd:") {
    }
    std::uint64_t mask = 0;
    file >> std::hex >> mask;
    return (mask >> (signal - 1) & 1U) != 0;
}

bool ProcessTable::isZombie(pid_t child)
{
    return stateOf(child) == 'Z';
}

int ProcessTable::openDescriptors()
{
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<int>(std::distance(begin(entries), end(entries))) - 1; // less the one that lists them
}
