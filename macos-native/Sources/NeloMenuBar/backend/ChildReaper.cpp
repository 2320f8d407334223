#include "backend/ChildReaper.h"

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
    signalAll(SIGTERM);
    reapUntil(std::chrono::steady_clock::now() + grace);
    signalAll(SIGKILL);
    reapUntil(std::chrono::steady_clock::time_point::max());
}

void ChildReaper::signalAll(int signal) const
{
    for (const pid_t pid : m_children)
        kill(pid, signal);
}

/// Waits until all children are reaped, or until `deadline`. POSIX has no wait for several children with a time limit.
void ChildReaper::reapUntil(std::chrono::steady_clock::time_point deadline)
{
    for (reapEnded(); !m_children.empty() && std::chrono::steady_clock::now() < deadline; reapEnded())
        std::this_thread::sleep_for(1ms);
}
