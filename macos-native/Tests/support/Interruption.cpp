#include "support/Interruption.h"

#include "support/ProcessTable.h"

#include <chrono>
#include <thread>

#include <unistd.h>

namespace {

constexpr int interruption = SIGUSR1;

template <typename Condition> void until(const Condition& condition)
{
    while (!condition())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

} // namespace

Interruption::Interruption()
{
    struct sigaction action = {};
    action.sa_handler = [](int) {}; // without SA_RESTART
    sigaction(interruption, &action, &m_before);
}

Interruption::~Interruption()
{
    sigaction(interruption, &m_before, nullptr);
}

void Interruption::strike(pid_t thread) const
{
    const auto waits = [thread] { return ProcessTable::isAsleep(thread); };
    until(waits);
    tgkill(getpid(), thread, interruption);
    // The handler could not tell: the thread sanitizer calls it only when the thread comes by a function of its own.
    until([thread] { return !ProcessTable::hasPending(thread, interruption); });
    until(waits);
}
