#include "support/faults/EveryFault.h"

#include "support/faults/FaultyCalls.h"

#include <QTest>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <utility>

#include <sys/wait.h>
#include <unistd.h>

EveryFault::EveryFault(Fault fault) : m_fault(std::move(fault))
{}

EveryFault::~EveryFault()
{
    if (QTest::currentTestFailed())
        qInfo("It was call %d of kind \"%s\".", m_number, m_fault.kind.constData());
}

bool EveryFault::next()
{
    if (!m_hasStruck || QTest::currentTestFailed())
        return false;
    ++m_number;
    return true;
}

void EveryFault::during(const std::function<void()>& action)
{
    m_hasStruck = m_fault.outcome == NELO_FAULT_KILL ? killsDuring(action) : strikesDuring(action);
    m_strikes += m_hasStruck ? 1 : 0;
}

bool EveryFault::strikesDuring(const std::function<void()>& action) const
{
    const auto arm = m_fault.isLasting ? nelo_faults_arm_from : nelo_faults_arm;
    arm(m_fault.kind.constData(), m_number, m_fault.outcome);
    action();
    return nelo_faults_disarm(m_fault.kind.constData()) >= m_number;
}

bool EveryFault::killsDuring(const std::function<void()>& action) const
{
    const auto workAsCopy = [&]() noexcept {
        strikesDuring(action);
        _exit(EXIT_SUCCESS);
    };
    const pid_t copy = fork();
    if (copy < 0)
        qFatal("no copy");
    if (copy == 0)
        workAsCopy();
    int status = 0;
    while (waitpid(copy, &status, 0) < 0 && errno == EINTR) {
    }
    const bool isKilled = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    if (!isKilled && status != EXIT_SUCCESS)
        QTest::qFail("A copy ended by itself.", __FILE__, __LINE__);
    return isKilled;
}

void addRowsOfFileFaults()
{
    QTest::addColumn<Fault>("fault");
    QTest::newRow("a file cannot be opened") << Fault{"open", EMFILE};
    QTest::newRow("the file system knows no files without a name")
        << Fault{.kind = "unnamed", .outcome = EOPNOTSUPP, .isSurvived = true};
    QTest::newRow("the disk is full") << Fault{"write", ENOSPC};
    QTest::newRow("the disk is broken") << Fault{"write", EIO};
    QTest::newRow("a signal interrupts a write") << Fault{.kind = "write", .outcome = EINTR, .isSurvived = true};
    QTest::newRow("a write takes half") << Fault{.kind = "write", .outcome = 0, .isSurvived = true};
    QTest::newRow("a write takes half, and then the disk is full") << Fault{"write", -ENOSPC};
    QTest::newRow("what was written does not reach the disk") << Fault{"sync", EIO};
    QTest::newRow("a file cannot be renamed") << Fault{"rename", EIO};
    QTest::newRow("a file cannot be given a name") << Fault{"link", EIO};
}
