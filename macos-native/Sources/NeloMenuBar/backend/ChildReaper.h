#pragma once

#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>
#include <thread>

#include <sys/types.h>

/// Waits for child processes that nobody talks to any more, so that none of them stays behind as a zombie.
///
/// A child that its owner dropped may take its time to end by itself, so each gets a thread that sleeps until it is
/// gone. Safe to use from any thread.
class ChildReaper final
{
public:
    ChildReaper() = default;
    ChildReaper(const ChildReaper&) = delete;
    ChildReaper& operator=(const ChildReaper&) = delete;
    /// Stops what is still alive, without a grace.
    ~ChildReaper();

    /// Takes over the unreaped child `pid`. It is left alone until it ends.
    void adopt(pid_t pid);

    /// Asks every adopted child to terminate, kills those that are alive when `grace` is over, and returns when all are
    /// reaped.
    void stopAll(std::chrono::milliseconds grace);

private:
    struct Child
    {
        pid_t pid;
        std::thread thread;
    };
    using Children = std::list<Child>;

    void waitFor(Children::iterator child);
    void signalAll(int signal); // with the lock held
    void joinFinished();

    std::mutex m_lock;
    std::condition_variable m_childEnded;
    Children m_waiting;
    Children m_finished;
};
