#include "backend/ChildReaper.h"

#include <cerrno>
#include <csignal>
#include <exception>

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
        const auto child = m_waiting.insert(m_waiting.end(), Child{pid, {}});
        child->thread = std::thread([this, child] { waitFor(child); });
    } catch (const std::exception&) { // no thread to be had: rather an early end than a zombie
        m_waiting.remove_if([pid](const Child& child) { return child.pid == pid; });
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

void ChildReaper::waitFor(Children::iterator child)
{
    // The child stays unreaped until the lock is held: its id cannot go to a stranger while signalAll() may use it.
    siginfo_t ignored{};
    while (waitid(P_PID, static_cast<id_t>(child->pid), &ignored, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
    const std::lock_guard locked(m_lock);
    waitpid(child->pid, nullptr, 0);
    m_finished.splice(m_finished.end(), m_waiting, child);
    m_childEnded.notify_all();
}

void ChildReaper::signalAll(int signal)
{
    for (const Child& child : m_waiting)
        kill(child.pid, signal);
}

void ChildReaper::joinFinished()
{
    Children finished;
    {
        const std::lock_guard locked(m_lock);
        finished.swap(m_finished);
    }
    for (Child& child : finished)
        child.thread.join();
}
