#include "backend/HelperProcess.h"

#include "backend/ChildReaper.h"
#include "support/CaseTable.h"
#include "support/LeftoverCheck.h"
#include "support/TestCase.h"

#include <QTemporaryDir>

#include <array>

#include <fcntl.h>
#include <signal.h>

using namespace std::chrono_literals;

/// A child on three pipes, with /bin/sh as the child.
class TestHelperProcess final : public TestCase
{
    Q_OBJECT

private slots:
    void linesGoOutAndComeBack()
    {
        const CaseTable<std::string, std::string, std::vector<std::string>> cases{
            {"as they were written", "exec cat", "hello\n\n", {"hello", ""}},
            {"two at once, and the beginning of the next",
             "printf 'one\\ntwo\\nth'; read go; echo ree; read go",
             "go\n",
             {"one", "two", "three"}},
            {"in pieces", "for piece in a b c; do printf $piece; sleep 0.02; done; echo; read go", "", {"abc"}},
            {"a long one", "head -c 3000000 /dev/zero | tr '\\0' x; echo; read go", "", {std::string(3'000'000, 'x')}},
        };
        for (const auto& [script, input, lines] : cases) {
            HelperProcess child = shell(script);
            QVERIFY(child.isRunning());
            QVERIFY(!child.write(input));
            for (const std::string& line : lines)
                QCOMPARE(lineOf(child), line);
        }
    }

    void aFailedLaunchIsTheSystemsError()
    {
        for (const auto& [program, folder] : {std::pair{"/bin/sh", "/no/such/folder"}, {"/no/such/program", "/"}}) {
            const auto launch = HelperProcess::launch({program, "-c", "true"}, folder, *m_reaper);
            QCOMPARE(std::get<std::error_code>(launch), std::errc::no_such_file_or_directory);
        }
    }

    void aChildThatExitedNoLongerRuns()
    {
        const CaseTable<std::size_t> cases{
            {"with descriptors that tell it", 8},
            {"without the second of them", 7},
            {"with those of the pipes alone", 6},
        };
        for (const auto& [spareDescriptors] : cases) {
            std::vector<FileDescriptor> taken = allDescriptorsBut(spareDescriptors);
            HelperProcess child =
                shell("exec 3<&0; cat <&3 & echo ready; read go"); // a grandchild keeps the pipes open
            taken.clear();
            QCOMPARE(lineOf(child), std::string("ready"));
            QVERIFY(child.isRunning());
            kill(child.processId(), SIGKILL);
            QTRY_VERIFY(!child.isRunning());
            QVERIFY(!child.isRunning()); // the query does not reap it
            QVERIFY(!child.write("hello\n"));
            QCOMPARE(lineOf(child), std::string("hello"));
        }
    }

    void theChildStartsWithTheDefaultSignals()
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

    void anEndedChildIsKeptThoughSigchldWasIgnored()
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
        const auto childrenAfterReaping = [this] {
            m_reaper->reapEnded();
            return ProcessTable::children();
        };
        shell("exec cat"); // dropped at the end of the line
        QTRY_VERIFY(childrenAfterReaping().empty());
        shell("exec cat");
        m_reaper->stopAll(1h); // returns when the last child has ended, and does not wait for the end of the grace
        QVERIFY(ProcessTable::children().empty());
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

    void theErrorsOfAChildGoToAPipe()
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

private:
    /// Returns whether a line of /proc/<pid>/status such as "SigBlk:\t0000000000001000" names `signal`.
    static bool holdsSignal(const std::string& statusLine, int signal)
    {
        const std::uint64_t mask = std::stoull(statusLine.substr(statusLine.find(':') + 1), nullptr, 16);
        return (mask >> (signal - 1) & 1U) != 0;
    }

    static std::string lineOf(HelperProcess& child)
    {
        return std::string(std::get<std::string_view>(child.readLine()));
    }

    /// Takes all descriptors of this process but `count`.
    static std::vector<FileDescriptor> allDescriptorsBut(std::size_t count)
    {
        std::vector<FileDescriptor> taken;
        for (int copy = 0; (copy = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)) >= 0;)
            taken.emplace_back(copy);
        taken.resize(taken.size() - count);
        return taken;
    }

    /// Starts /bin/sh with `script`.
    HelperProcess shell(const std::string& script)
    {
        return std::get<HelperProcess>(HelperProcess::launch({"/bin/sh", "-c", script}, "/", *m_reaper));
    }

    Fresh<LeftoverCheck> m_check{this};
    Fresh<ChildReaper> m_reaper{this};
};

QTEST_GUILESS_MAIN(TestHelperProcess)
#include "TestHelperProcess.moc"
