#include "backend/HelperProcess.h"

#include "backend/ChildReaper.h"
#include "support/ProcessTable.h"
#include "support/Warnings.h"

#include <QTemporaryDir>
#include <QTest>

#include <array>

#include <fcntl.h>
#include <signal.h>

using namespace std::chrono_literals;

namespace {

/// Returns whether a line of /proc/<pid>/status such as "SigBlk:\t0000000000001000" names `signal`.
bool holdsSignal(const std::string& statusLine, int signal)
{
    const std::uint64_t mask = std::stoull(statusLine.substr(statusLine.find(':') + 1), nullptr, 16);
    return (mask >> (signal - 1) & 1U) != 0;
}

std::string lineOf(HelperProcess& child)
{
    return std::string(std::get<std::string_view>(child.readLine()));
}

} // namespace

/// A child on three pipes, with /bin/sh as the child.
class TestHelperProcess final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_descriptorsBefore = ProcessTable::openDescriptors();
        m_reaper = std::make_unique<ChildReaper>();
    }

    void cleanup()
    {
        m_reaper.reset();
        QVERIFY(ProcessTable::children().empty());
        QCOMPARE(ProcessTable::openDescriptors(), m_descriptorsBefore);
    }

    void linesGoOutAndComeBack()
    {
        HelperProcess child = shell("exec cat");
        QVERIFY(child.isRunning());
        QVERIFY(!child.write("hello\n"));
        QCOMPARE(lineOf(child), std::string("hello"));
        QVERIFY(!child.write("\n"));
        QCOMPARE(lineOf(child), std::string());
    }

    void bytesPastTheLineFeedAnswerTheNextRead()
    {
        HelperProcess child = shell("printf 'one\\ntwo\\nth'; read go; echo ree; read go");
        QCOMPARE(lineOf(child), std::string("one"));
        QCOMPARE(lineOf(child), std::string("two"));
        QVERIFY(!child.write("go\n"));
        QCOMPARE(lineOf(child), std::string("three"));
    }

    void aLineThatComesInPiecesIsOneLine()
    {
        HelperProcess child = shell("for piece in a b c; do printf $piece; sleep 0.02; done; echo; read go");
        QCOMPARE(lineOf(child), std::string("abc"));
    }

    void aLongLineArrivesWhole()
    {
        HelperProcess child = shell("head -c 3000000 /dev/zero | tr '\\0' x; echo; read go");
        QCOMPARE(lineOf(child), std::string(3'000'000, 'x'));
    }

    void runsInItsFolder()
    {
        const QTemporaryDir folder(QDir::tempPath() + QStringLiteral("/家 XXXXXX"));
        HelperProcess child = std::get<HelperProcess>(
            HelperProcess::launch({"/bin/sh", "-c", "pwd -P; read go"}, folder.path().toStdString(), *m_reaper));
        QCOMPARE(lineOf(child), QDir(folder.path()).canonicalPath().toStdString());
    }

    void aFolderThatDoesNotExistIsTheSystemsError()
    {
        const auto launch = HelperProcess::launch({"/bin/sh", "-c", "true"}, "/no/such/folder", *m_reaper);
        QCOMPARE(std::get<std::error_code>(launch), std::errc::no_such_file_or_directory);
    }

    void aProgramThatDoesNotExistIsTheSystemsError()
    {
        const auto launch = HelperProcess::launch({"/no/such/program"}, "/", *m_reaper);
        QCOMPARE(std::get<std::error_code>(launch), std::errc::no_such_file_or_directory);
    }

    void theEndOfItsOutputIsNoLine()
    {
        HelperProcess child = shell("printf half");
        QVERIFY(std::holds_alternative<HelperProcess::EndOfFile>(child.readLine()));
    }

    void aChildThatExitedNoLongerRuns_data()
    {
        QTest::addColumn<std::size_t>("spareDescriptors");
        QTest::newRow("with descriptors that tell it") << std::size_t{8};
        QTest::newRow("without the second of them") << std::size_t{7};
        QTest::newRow("with those of the pipes alone") << std::size_t{6};
    }

    void aChildThatExitedNoLongerRuns()
    {
        QFETCH(std::size_t, spareDescriptors);
        std::vector<FileDescriptor> hoard = allDescriptorsBut(spareDescriptors);
        HelperProcess child =
            shell("exec 3<&0; cat <&3 & echo ready; read go"); // which leaves its pipes to one of its own
        hoard.clear();
        QCOMPARE(lineOf(child), std::string("ready"));
        QVERIFY(child.isRunning());
        kill(child.processId(), SIGKILL);
        QTRY_VERIFY(!child.isRunning());
        QVERIFY(!child.isRunning()); // looking does not reap it
        QVERIFY(!child.write("hello\n"));
        QCOMPARE(lineOf(child), std::string("hello"));
    }

    void writingToAChildThatReadsNoMoreIsAnError()
    {
        HelperProcess child = shell("exec 0<&-; echo closed; sleep 10");
        QCOMPARE(lineOf(child), std::string("closed"));
        QCOMPARE(child.write("hello\n"), std::errc::broken_pipe);
        QCOMPARE(child.write("again\n"), std::errc::broken_pipe);
        child.terminate();
    }

    void theChildFindsSignalsAsAProgramExpectsThem()
    {
        sigset_t terminate{};
        sigemptyset(&terminate);
        sigaddset(&terminate, SIGTERM);
        sigset_t before{};
        pthread_sigmask(SIG_BLOCK, &terminate, &before);
        const auto oldHandler = signal(SIGPIPE, SIG_IGN);
        HelperProcess child = shell("grep -E 'SigBlk|SigIgn' /proc/self/status; read go");
        signal(SIGPIPE, oldHandler);
        pthread_sigmask(SIG_SETMASK, &before, nullptr);

        QVERIFY(!holdsSignal(lineOf(child), SIGTERM));
        QVERIFY(!holdsSignal(lineOf(child), SIGPIPE));
    }

    void anEndedChildWaitsForUsThoughItsSignalWasIgnored()
    {
        const auto before = signal(SIGCHLD, SIG_IGN);
        {
            const HelperProcess child = shell("exit 0");
            QTRY_VERIFY(ProcessTable::isZombie(child.processId()));
        }
        signal(SIGCHLD, before);
    }

    void noDescriptorOfOursReachesTheChild()
    {
        const std::string listing = "ls /proc/self/fd | tr '\\n' ' '; echo; read go";
        HelperProcess alone = shell(listing);
        HelperProcess second = shell(listing); // while the pipes to the first one are open in this process
        QCOMPARE(lineOf(second), lineOf(alone));
    }

    void launchesWithOurStandardStreamsClosed()
    {
        const FileDescriptor savedInput(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10));
        const FileDescriptor savedOutput(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 10));
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
        HelperProcess child = shell("exec cat");
        dup2(savedInput.get(), STDIN_FILENO);
        dup2(savedOutput.get(), STDOUT_FILENO);

        QVERIFY(!child.write("hello\n"));
        QCOMPARE(lineOf(child), std::string("hello"));
    }

    void aDroppedChildEndsByItselfAndIsReaped()
    {
        {
            const HelperProcess child = shell("exec cat");
        }
        QTRY_VERIFY(childrenAfterReaping().empty());
    }

    void stoppingTerminatesFirstAndKillsWhenTheGraceIsOver()
    {
        const QTemporaryDir folder;
        const QString file = folder.filePath(QStringLiteral("terminated"));
        {
            HelperProcess stubborn = shell("trap '' TERM; echo ready; while :; do sleep 0.01; done");
            QCOMPARE(lineOf(stubborn), std::string("ready"));
            HelperProcess obedient =
                shell("trap 'touch " + file.toStdString() + "; exit' TERM; echo ready; while :; do sleep 0.01; done");
            QCOMPARE(lineOf(obedient), std::string("ready"));
        }
        m_reaper->stopAll(1s);
        QVERIFY(QFile::exists(file)); // a child that is only killed cannot make it
        QVERIFY(ProcessTable::children().empty());
    }

    void stoppingEndsWithTheLastChildAndNotWithTheGrace()
    {
        {
            const HelperProcess child = shell("exec cat");
        }
        m_reaper->stopAll(1h);
        QVERIFY(ProcessTable::children().empty());
    }

    void aChildsErrorsAreAPipeThatNobodyReads()
    {
        HelperProcess child = shell("echo trouble >&2; echo ready; read go");
        QCOMPARE(lineOf(child), std::string("ready"));
        const std::string path = "/proc/" + std::to_string(child.processId()) + "/fd/2";
        QVERIFY(std::filesystem::read_symlink(path) != std::filesystem::read_symlink("/proc/self/fd/2")); // not ours
        const FileDescriptor errors(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        std::array<char, 100> bytes{};
        QCOMPARE(read(errors.get(), bytes.data(), bytes.size()), 8);
        QCOMPARE(bytes.data(), "trouble\n");
    }

    void outOfDescriptorsIsTheSystemsError()
    {
        std::vector<FileDescriptor> hoard = allDescriptorsBut(3); // room for one pipe and a half
        const auto launch = HelperProcess::launch({"/bin/sh", "-c", "true"}, "/", *m_reaper);
        hoard.clear();
        QCOMPARE(std::get<std::error_code>(launch), std::errc::too_many_files_open);
    }

private:
    /// Takes all descriptors of this process but `count`.
    static std::vector<FileDescriptor> allDescriptorsBut(std::size_t count)
    {
        std::vector<FileDescriptor> hoard;
        for (int taken = 0; (taken = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)) >= 0;)
            hoard.emplace_back(taken);
        hoard.resize(hoard.size() - count);
        return hoard;
    }

    /// Starts /bin/sh with `script`.
    HelperProcess shell(const std::string& script)
    {
        return std::get<HelperProcess>(HelperProcess::launch({"/bin/sh", "-c", script}, "/", *m_reaper));
    }

    std::vector<pid_t> childrenAfterReaping()
    {
        m_reaper->reapEnded();
        return ProcessTable::children();
    }

    int m_descriptorsBefore = 0;
    std::unique_ptr<ChildReaper> m_reaper;
};

QTEST_GUILESS_MAIN(TestHelperProcess)
#include "TestHelperProcess.moc"
