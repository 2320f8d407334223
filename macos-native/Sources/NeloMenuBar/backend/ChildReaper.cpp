#include "backend/ChildReaper.h"

#include <cerrno>
#include <csignal>
#include <thread>

#include <sys/wait.h>

using namespace std::chrono_literals;

ChildReaper::~ChildReaper()
{
    stopAll(0ms);
}

void ChildReaper::adopt(pid_t pid)
{
    m_children.push_back(pid);
}

void ChildReaper::reapEnded()
{
    std::erase_if(m_children, [](pid_t pid) { return waitpid(pid, nullptr, WNOHANG) != 0; });
}

void ChildReaper::stopAll(std::chrono::milliseconds grace)
{
    for (const pid_t pid : m_children)
        kill(pid, SIGTERM);
    const auto end = std::chrono::steady_clock::now() + grace;
    for (reapEnded(); !m_children.empty() && std::chrono::steady_clock::now() < end; reapEnded())
        std::this_thread::sleep_for(1ms); // POSIX has no wait for several children with a time limit
    for (const pid_t pid : m_children) {
        kill(pid, SIGKILL);
        while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    m_children.clear();
}
