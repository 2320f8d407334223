#include "support/faults/RandomKills.h"

#include "support/faults/FaultyCalls.h"

#include <QTest>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

constexpr std::chrono::microseconds maxLifetime = 4ms; // several writes on a disk of memory

unsigned seedOfThisRun()
{
    bool isGiven = false;
    const unsigned given = qEnvironmentVariable("NELO_SEED").toUInt(&isGiven);
    return isGiven ? given : std::random_device()();
}

/// Works until it is killed. An exception ends the program: the copy must not go on with this process's other tests.
[[noreturn]] void workForEver(const std::function<bool(int)>& work, int ready) noexcept
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (const int crash : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV})
        std::signal(crash, SIG_DFL); // Qt Test would look for a debugger first, and be killed meanwhile
    for (int round = 0; work(round); ++round) {
        const char done = 0;
        if (round == 0 && write(ready, &done, 1) != 1)
            break;
    }
    _exit(EXIT_FAILURE);
}

/// Whether a child has done its work once: it says so with a byte, and ends without one when it has failed.
bool hasWorked(int ready)
{
    char done = 0;
    ssize_t size = 0;
    do {
        size = read(ready, &done, 1);
    } while (size < 0 && errno == EINTR);
    return size == 1;
}

/// Waits until a child has ended; whether it was killed.
bool wasKilled(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

} // namespace

RandomKills::RandomKills() : m_seed(seedOfThisRun()), m_random(m_seed)
{}

RandomKills::~RandomKills()
{
    if (QTest::currentTestFailed())
        qInfo("NELO_SEED=%u brings the same moments again.", m_seed);
}

bool RandomKills::during(const std::function<bool(int)>& work)
{
    int ends[2];
    if (pipe(ends) != 0)
        qFatal("no pipe");
    const bool hasUnnamedFiles = m_kills++ % 2 == 0;
    const pid_t child = fork();
    if (child < 0)
        qFatal("no child");
    if (child == 0) {
        if (!hasUnnamedFiles)
            nelo_faults_arm_from("unnamed", 1, EOPNOTSUPP);
        workForEver(work, ends[1]); // the copy in it is the only one that is open then
    }
    close(ends[1]);
    const bool isReady = hasWorked(ends[0]);
    close(ends[0]);

    std::uniform_int_distribution<std::int64_t> lives(0, maxLifetime.count());
    const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(lives(m_random));
    while (std::chrono::steady_clock::now() < end) { // a sleep would end on a tick of the clock
    }
    kill(child, SIGKILL);
    return wasKilled(child) && isReady;
}
