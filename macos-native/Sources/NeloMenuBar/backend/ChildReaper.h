#pragma once

#include <chrono>
#include <vector>

#include <sys/types.h>

/// The child processes that are not used any more. They end by themselves. The reaper reaps them, so that no zombie
/// stays. One thread at a time.
class ChildReaper final
{
public:
    ChildReaper() = default;
    ChildReaper(const ChildReaper&) = delete;
    ChildReaper& operator=(const ChildReaper&) = delete;
    /// Kills the children that are still alive.
    ~ChildReaper();

    /// Takes over the unreaped child `pid`, and lets it run.
    void adopt(pid_t pid);

    /// Reaps the children that have ended. Never waits.
    void reapEnded();

    /// Sends every child a request to terminate, kills those that are alive when `grace` is over, and returns when all
    /// are reaped.
    void stopAll(std::chrono::milliseconds grace);

private:
    void signalAll(int signal) const;
    void reapUntil(std::chrono::steady_clock::time_point deadline);

    std::vector<pid_t> m_children; // not reaped yet: no other process can have one of these ids
};
