#include "support/faults/RandomKills.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"

#include <csignal>
#include <stdexcept>

#include <unistd.h>

using Ending = bool (*)();

/// What the killing of programs says of those that do not live until they are killed.
class TestRandomKills final : public TestCase
{
    Q_OBJECT

private slots:
    void workThatGoesOnIsKilled()
    {
        RandomKills random;
        for (int kill = 0; kill < 20; ++kill)
            QVERIFY(random.during([](int) { return true; }));
    }

    void workThatEndsByItselfIsTold()
    {
        const CaseTable<Ending> cases{
            {"it fails", Ending([] { return false; })},
            {"it throws", Ending([]() -> bool { throw std::runtime_error("a bug"); })},
            {"it crashes", Ending([] { return raise(SIGSEGV) == 0; })},
            {"it leaves", Ending([]() -> bool { _exit(0); })},
        };
        for (const auto& [end] : cases) {
            RandomKills random;
            QVERIFY(!random.during([end = end](int) { return end(); }));
            const auto laterOn = [end = end](int round) { return round == 0 || end(); };
            int killedBefore = 0;
            while (random.during(laterOn))
                QVERIFY(++killedBefore < 1000);
        }
    }
};

QTEST_GUILESS_MAIN(TestRandomKills)
#include "TestRandomKills.moc"
