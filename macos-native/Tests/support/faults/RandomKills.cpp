#include "support/faults/RandomKills.h"

#include <QTest>

#include <chrono>
#include <csignal>
#include <cstdint>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

constexpr std::chrono::microseconds longestLife = 4ms; // several writes on a disk of memory

unsigned seedOfThisRun()
{
    bool isGiven = false;
    const unsigned given = qEnvironmentVariable("NELO_SEED").toUInt(&isGiven);
    return isGiven ? given : std::random_device()();
}

[[noreturn]] void workForEver(const std::function<void(int)>& work, int ready)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (int round = 0; true; ++round) {
        work(round);
        if (round == 0)
            close(ready);
    }
}

} // namespace

RandomKills::RandomKills() : m_seed(seedOfThisRun()), m_random(m_seed)
{}

RandomKills::~RandomKills()
{
    if (QTest::currentTestFailed())
        qInfo("NELO_SEED=%u brings the same moments again.", m_seed);
}

void RandomKills::during(const std::function<void(int)>& work)
{
    int ends[2];
    if (pipe(ends) != 0)
        qFatal("no pipe");
    const pid_t child = fork();
    if (child < 0)
        qFatal("no child");
    if (child == 0)
        workForEver(work, ends[1]); // the copy in it is the only one that is open then
    close(ends[1]);
    char never = 0;
    while (read(ends[0], &never, 1) < 0) {
    }
    close(ends[0]);

    std::uniform_int_distribution<std::int64_t> lives(0, longestLife.count());
    const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(lives(m_random));
    while (std::chrono::steady_clock::now() < end) { // a sleep would end on a tick of the clock
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}
