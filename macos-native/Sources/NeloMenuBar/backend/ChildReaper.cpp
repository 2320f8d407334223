#include "backend/ChildReaper.h"

#include <cerrno>
#include <csignal>
#include <exception>
#include <utility>

#include <sys/wait.h>

ChildReaper::~ChildReaper()
{
    stopAll(std::chrono::milliseconds::zero());
}

void ChildReaper::adopt(pid_t pid)
{
    joinFinished();
    const std::lock_guard locked(m_lock);
    try {
        m_waiting.emplace(pid, std::thread([this, pid] { waitFor(pid); }));
    } catch (const std::exception&) { // no thread to be had: rather an early end than a zombie
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
}

void ChildReaper::stopAll(std::chrono::milliseconds grace)
{
    {
        std::unique_lock locked(m_lock);
        const auto allEnded = [this] { return m_waiting.empty(); };
        signalAll(SIGTERM);
        if (!m_childEnded.wait_for(locked, grace, allEnded)) {
            signalAll(SIGKILL);
            m_childEnded.wait(locked, allEnded);
        }
    }
    joinFinished();
}

void ChildReaper::waitFor(pid_t pid)
{
    // The child stays unreaped until the lock is held: its id cannot go to a stranger while signalAll() may use it.
    siginfo_t ignored{};
    while (waitid(P_PID, static_cast<id_t>(pid), &ignored, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
    const std::lock_guard locked(m_lock);
    waitpid(pid, nullptr, 0);
    auto self = m_waiting.extract(pid);
    m_finished.push_back(std::move(self.mapped()));
    m_childEnded.notify_all();
}

void ChildReaper::signalAll(int signal)
{
    for (const auto& [pid, thread] : m_waiting)
        kill(pid, signal);
}

void ChildReaper::joinFinished()
{
    std::vector<std::thread> finished;
    {
        const std::lock_guard locked(m_lock);
        finished.swap(m_finished);
    }
    for (std::thread& thread : finished)
        thread.join();
}
