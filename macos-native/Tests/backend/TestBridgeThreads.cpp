#include "backend/NeloBackend.h"

#include "support/ProcessTable.h"
#include "support/ScriptedBackend.h"
#include "support/Warnings.h"

#include <QDir>
#include <QTest>

#include <atomic>
#include <thread>

namespace {

constexpr int threadCount = 8;

/// Runs `work(thread)` on eight threads at once.
template <typename Work> void onEightThreads(Work work)
{
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int thread = 0; thread < threadCount; ++thread)
        threads.emplace_back(work, thread);
    for (std::thread& thread : threads)
        thread.join();
}

std::string question(int thread, int call)
{
    return std::to_string(thread) + '/' + std::to_string(call);
}

std::string expectedAnswer(const std::string& text)
{
    return "[\"" + text + "\"]";
}

} // namespace

/// The bridge under many callers; built with the thread sanitizer, whose findings fail the test.
/// The repository it was built from, as recorded, does not exist.
class TestBridgeThreads final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void eightThreadsEachGetTheirOwnReplies()
    {
        ScriptedBackend backend;
        backend.script("echo", {{{"answer-arguments", true}}});
        std::atomic<int> wrong = 0;
        onEightThreads([&wrong](int thread) {
            for (int call = 0; call < 100; ++call) {
                const std::string text = question(thread, call);
                if (NeloBackend::call("echo", {text}) != expectedAnswer(text))
                    ++wrong;
            }
        });
        QCOMPARE(wrong.load(), 0);
        QCOMPARE(backend.calls().size(), 800U);
    }

    void shutdownAndCallsMayMeet()
    {
        ScriptedBackend backend;
        backend.script("echo", {{{"answer-arguments", true}}});
        std::atomic<int> wrong = 0;
        onEightThreads([&wrong](int thread) {
            for (int call = 0; call < 10; ++call) {
                const std::string text = question(thread, call);
                if (thread == 0)
                    NeloBackend::shutdown();
                else if (NeloBackend::call("echo", {text}) != expectedAnswer(text))
                    ++wrong;
            }
        });
        QCOMPARE(wrong.load(), 0);
        NeloBackend::shutdown();
        QVERIFY(ProcessTable::children().empty());
    }

    void aHelperThatKeepsDyingMixesNoReplies()
    {
        ScriptedBackend backend;
        backend.script("echo", {{{"answer-arguments", true}}});
        backend.script("die", {{{"exit", 1}}});
        std::atomic<int> wrong = 0;
        onEightThreads([&wrong](int thread) {
            for (int call = 0; call < 10; ++call) {
                const std::string text = question(thread, call);
                const bool dies = call % 4 == thread % 4;
                const std::string reply = dies ? NeloBackend::call("die") : NeloBackend::call("echo", {text});
                if (reply != (dies ? "ERROR: backend helper terminated" : expectedAnswer(text)))
                    ++wrong;
            }
        });
        QCOMPARE(wrong.load(), 0);
    }

    void aProjectFolderThatDoesNotExistIsTheSystemsError()
    {
        ScriptedBackend backend;
        backend.answer("ping", 1);
        QDir::setCurrent(QStringLiteral("/")); // the repository that this program says it was built from does not exist
        QCOMPARE(NeloBackend::call("ping"), std::string("ERROR: No such file or directory"));
        QDir::setCurrent(backend.folder());
        QCOMPARE(NeloBackend::call("ping"), std::string("1"));
    }
};

QTEST_GUILESS_MAIN(TestBridgeThreads)
#include "TestBridgeThreads.moc"
