#pragma once

#include <functional>
#include <random>

/// Kills programs in the middle of their work, at random moments. For every second one, file systems have no unnamed
/// files, so that a file it has begun is left over. Prints the seed when the test has failed. The variable NELO_SEED
/// sets it.
class RandomKills final
{
public:
    RandomKills();
    RandomKills(const RandomKills&) = delete;
    RandomKills& operator=(const RandomKills&) = delete;
    ~RandomKills();

    /// Has a copy of this process do `work` with 0, 1, 2 ... for as long as it lives, and kills it (SIGKILL) a moment,
    /// at most a few milliseconds, after it has done so once. This process must have one thread.
    ///
    /// `work` returns whether it has succeeded. False when the copy did not live until it was killed: when its work
    /// failed, threw or crashed, in whichever round.
    [[nodiscard]] bool during(const std::function<bool(int)>& work);

private:
    unsigned m_seed;
    std::mt19937 m_random;
    int m_kills = 0;
};
