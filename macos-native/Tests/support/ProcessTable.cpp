#include "support/ProcessTable.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

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

bool ProcessTable::isZombie(pid_t child)
{
    std::ifstream file("/proc/" + std::to_string(child) + "/stat"); // see proc(5)
    const std::string stat{std::istreambuf_iterator<char>(file), {}};
    const std::size_t nameEnd = stat.rfind(") "); // the state follows the name, which may hold anything
    return nameEnd != std::string::npos && stat[nameEnd + 2] == 'Z';
}

int ProcessTable::openDescriptors()
{
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<int>(std::distance(begin(entries), end(entries))) - 1; // less the one that lists them
}
