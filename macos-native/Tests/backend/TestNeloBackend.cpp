#include "backend/NeloBackend.h"

#include "support/CaseTable.h"
#include "support/Files.h"
#include "support/LeftoverCheck.h"
#include "support/OrdinaryUser.h"
#include "support/ScriptedBackend.h"
#include "support/TestCase.h"

#include <QTimer>

#include <atomic>
#include <future>
#include <thread>

#include <signal.h>

using namespace Qt::StringLiterals;

/// The bridge on the real helper process with a scripted backend module.
class TestNeloBackend final : public TestCase
{
    Q_OBJECT

private slots:
    void init() override
    {
        TestCase::init();
        qunsetenv("PYTHONUNBUFFERED"); // the program itself must make Python write at once
        m_backend->answer("ping", {{"pong", 1}});
        m_backend->script("pid", {{{"answer-process-id", true}}});
        m_backend->script("echo", {{{"answer-arguments", true}}});
    }

    void theFirstCallStartsTheHelperAndTheNextOnesReuseIt()
    {
        QVERIFY(ProcessTable::children().empty());
        QCOMPARE(NeloBackend::call("ping"), std::string(R"({"pong":1})"));
        QCOMPARE(ProcessTable::children().size(), 1U);
        const std::string first = NeloBackend::call("pid");
        QCOMPARE(std::stoi(first), ProcessTable::children().at(0));
        QCOMPARE(NeloBackend::call("pid"), first);
    }

    void argumentsAndResultsArriveUnchanged()
    {
        const std::vector<Json> args{"plain", "",     "C:\\",   "a \"quotation\"",
                                     "\x7f",  "\x1f", "你好\n", true,
                                     nullptr, 1,      1.0,      Json{{"z", 1}, {"a", {{"deep", Json::array()}}}}};
        QCOMPARE(NeloBackend::call("echo", args), Json(args).dump());
        QCOMPARE(m_backend->calls().back().args.dump(), Json(args).dump());
        QCOMPARE(NeloBackend::call("echo"), std::string("[]"));
        QCOMPARE(NeloBackend::call("nothing"), std::string("null")); // this is not a failure
    }

    void chineseTextArrivesIntactUnderAnyLocale()
    {
        for (const char* encoding : {"utf-8", "ascii", "latin-1"}) { // the encodings of usual locales
            qputenv("PYTHONIOENCODING", encoding);
            const std::string reply = NeloBackend::call("echo", {"你好🙂"});
            qunsetenv("PYTHONIOENCODING");
            QCOMPARE(reply, std::string(R"(["你好🙂"])"));
            NeloBackend::shutdown();
        }
    }

    void aFailureIsNamedAndTheHelperStays()
    {
        const std::string helper = NeloBackend::call("pid");
        for (const char* type : {"ValueError", "SystemExit", "KeyboardInterrupt"}) { // two would end Python
            m_backend->raise("fail", type, "bad 坏");
            QCOMPARE(NeloBackend::call("fail"), "ERROR: " + std::string(type) + ": bad 坏");
        }
        QCOMPARE(NeloBackend::call("no_such_function"), std::string("ERROR: unknown function: no_such_function"));
        m_backend->script("surrogate", {{{"answer-json-text", R"("\ud800")"}}});
        QVERIFY(NeloBackend::call("surrogate").starts_with("ERROR: UnicodeEncodeError: "));
        QCOMPARE(NeloBackend::call("pid"), helper);
        QVERIFY(NeloBackend::call("echo", {"\xff"}).starts_with("ERROR: ")); // such a request cannot be written as JSON
        verifyNextCallWorks();
    }

    void aModulePathPrefersLegacyUiThenTheRoot()
    {
        Files::create(m_backend->folder(u"legacy_ui/app.py"_s),
                      "import os, sys\ndef path(): return [os.path.relpath(p) for p in sys.path[:2]]\n");
        QCOMPARE(NeloBackend::call("path"), std::string(R"(["legacy_ui","."])"));
    }

    void failuresRecoverOnTheNextCall()
    {
        const std::string terminated("ERROR: backend helper terminated");
        const CaseTable<std::vector<Json>, std::string> cases{
            {"noise before the reply", {{{"write-raw", "debug\n"}}}, "ERROR: "},
            {"noise without a flush", {{{"print", "debug\n"}}}, "ERROR: "},
            {"half a line, and the helper dies", {{{"write-raw", "{\"ok\":true"}}, {{"exit", 3}}}, terminated},
            {"the helper exits in a function", {{{"exit", 0}}}, terminated},
            {"the helper closes its output", {{{"close-output", true}}, {{"sleep", 0.2}}}, terminated},
        };
        for (const auto& [steps, error] : cases) {
            m_backend->script("fail", steps);
            QCOMPARE(NeloBackend::call("ping"), std::string(R"({"pong":1})"));
            const int callsBefore = m_backend->count("fail");
            const std::string reply = NeloBackend::call("fail");
            QVERIFY2(reply.starts_with(error), reply.c_str());
            verifyNextCallWorks();
            QCOMPARE(m_backend->count("fail"), callsBefore + 1); // it is not tried again
        }
    }

    void anExtraLineIsTheReplyAndTheRealReplyGoesToTheNextCall()
    {
        const Json real{{"answer", {"real"}}};
        m_backend->script("object", {{{"write-raw", "{\"ok\": true, \"result\": [\"noise\"]}\n"}}, real});
        m_backend->script("list", {{{"write-raw", "[1]\n"}}, real});
        m_backend->script("latin", {{{"write-latin-1", "\u00e9\n"}}, real});
        const std::string invalid = "ERROR: invalid backend helper response";
        for (const auto& [function, reply] :
             {std::pair{"object", std::string("[\"noise\"]")}, {"list", invalid}, {"latin", invalid}}) {
            QCOMPARE(NeloBackend::call(function), reply);
            QCOMPARE(NeloBackend::call("ping"), std::string(R"(["real"])")); // of the same helper
            QCOMPARE(NeloBackend::call("ping"), std::string(R"({"pong":1})"));
            NeloBackend::shutdown();
        }
    }

    void aHelperThatClosedItsInputIsReplaced()
    {
        m_backend->script("deafen", {{{"close-input", true}}, {{"write-raw", "{\"ok\": true}\n"}}, {{"sleep", 60}}});
        QCOMPARE(NeloBackend::call("deafen"), std::string("{}"));
        QCOMPARE(NeloBackend::call("ping"), std::string("ERROR: backend helper terminated"));
        QCOMPARE(NeloBackend::call("ping"), std::string(R"({"pong":1})"));
        QCOMPARE(ProcessTable::children().size(), 2U); // the first helper still runs
    }

    void aModuleThatFailsToImportFailsEveryCall()
    {
        const QString module = m_backend->folder(u"app.py"_s);
        Files::create(module, "import no_such_module_anywhere\n");
        for (int attempt = 0; attempt < 3; ++attempt)
            QCOMPARE(NeloBackend::call("ping"), std::string("ERROR: backend helper terminated"));
        // With a request that is longer than the pipe, the write fails first.
        QCOMPARE(NeloBackend::call("ping", {std::string(1'000'000, 'x')}),
                 std::string("ERROR: backend helper terminated"));

        Files::create(module, "def ping(): return {'pong': 1}\n");
        verifyNextCallWorks();
    }

    void aHelperKilledBetweenCallsIsReplaced()
    {
        const std::string first = NeloBackend::call("pid");
        kill(std::stoi(first), SIGKILL);
        QTRY_VERIFY(ProcessTable::isZombie(std::stoi(first)));
        const std::string second = NeloBackend::call("pid");
        QVERIFY(std::stoi(second) != std::stoi(first));
        verifyNextCallWorks();
    }

    void aHelperKilledDuringACallEndsThatCall()
    {
        m_backend->script("hang", {{{"sleep", 60}}});
        const int helper = std::stoi(NeloBackend::call("pid"));
        auto pending = std::async(std::launch::async, [] { return NeloBackend::call("hang"); });
        QTRY_COMPARE(m_backend->count("hang"), 1);
        kill(helper, SIGKILL);
        QCOMPARE(pending.get(), std::string("ERROR: backend helper terminated"));
        verifyNextCallWorks();
    }

    void megabytesArriveWhole()
    {
        m_backend->script("talk", {{{"write-errors", 60 * 1024}}, {{"answer", Json::array()}}});
        QCOMPARE(NeloBackend::call("talk"), std::string("[]")); // diagnostics do not block
        constexpr std::size_t length = 50'000'000;
        m_backend->script("large", {{{"answer-length", length}}});
        QVERIFY(NeloBackend::call("large") == '"' + std::string(length, 'x') + '"');
        const std::string text(10'000'000, 'x');
        QVERIFY(NeloBackend::call("echo", {text}) == "[\"" + text + "\"]");
        verifyNextCallWorks();
    }

    void aDroppedHelperFinishesItsWork()
    {
        const QString file = m_backend->folder(u"finished"_s);
        m_backend->script("detach",
                          {{{"close-output", true}}, {{"sleep", 0.1}}, {{"create-file", file.toStdString()}}});
        QCOMPARE(NeloBackend::call("detach"), std::string("ERROR: backend helper terminated"));
        QTRY_VERIFY(QFile::exists(file));
        verifyNextCallWorks();
    }

    void noEventLoopRunsInsideACall()
    {
        bool ran = false;
        QTimer::singleShot(0, this, [&ran] { ran = true; });
        m_backend->script("slow", {{{"sleep", 0.05}}});
        NeloBackend::call("slow");
        QVERIFY(!ran);
        QTRY_VERIFY(ran);
    }

    void shutdownLeavesNothing()
    {
        const QString file = m_backend->folder(u"terminated"_s);
        m_backend->script(
            "detach",
            {{{"create-file-when-terminated", file.toStdString()}}, {{"close-output", true}}, {{"sleep", 60}}});
        const CaseTable<std::string, bool> cases{
            {"where there is no helper", {}, false},
            {"of a helper that waits", "pid", false},
            {"of a helper that has died", "pid", true},
            {"of a dropped helper that is busy", "detach", false},
        };
        for (const auto& [function, isKilledBefore] : cases) {
            const std::string reply = function.empty() ? std::string() : NeloBackend::call(function);
            QCOMPARE(ProcessTable::children().size(), function.empty() ? 0U : 1U);
            if (isKilledBefore)
                kill(std::stoi(reply), SIGKILL);
            NeloBackend::shutdown();
            QVERIFY(ProcessTable::children().empty());
            QCOMPARE(ProcessTable::openDescriptors(), m_check->descriptorsBefore);
            QCOMPARE(QFile::exists(file), function == "detach"); // it was asked to terminate, and had the time
            verifyNextCallWorks();
            NeloBackend::shutdown();
        }
    }

    void shutdownWaitsForACallInProgress()
    {
        const QString file = m_backend->folder(u"go"_s);
        m_backend->script("wait", {{{"wait-for-file", file.toStdString()}}, {{"answer", {"waited"}}}});
        auto pending = std::async(std::launch::async, [] { return NeloBackend::call("wait"); });
        QTRY_COMPARE(m_backend->count("wait"), 1);
        auto ended = std::async(std::launch::async, [] { NeloBackend::shutdown(); });
        QCOMPARE(ended.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
        Files::create(file, "");
        QCOMPARE(pending.get(), std::string(R"(["waited"])"));
        ended.get();
        QVERIFY(ProcessTable::children().empty());
    }

    void aThousandFailuresLeaveNothingBehind()
    {
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", "/no/such/folder"); // quicker to fail than an interpreter
        for (int failure = 0; failure < 1000; ++failure)
            QCOMPARE(NeloBackend::call("ping"), std::string("ERROR: backend helper terminated"));
        qputenv("PATH", path);
        verifyNextCallWorks();
    }

    void aProjectFolderThatCannotBeEnteredIsTheSystemsError()
    {
        const OrdinaryUser user;
        QVERIFY(QFile::setPermissions(m_backend->folder(), {}));
        const std::string reply = NeloBackend::call("ping");
        QVERIFY(QFile::setPermissions(m_backend->folder(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QCOMPARE(reply, std::string("ERROR: Permission denied"));
        verifyNextCallWorks();
    }

    void manyThreadsEachGetTheirOwnReplies()
    {
        m_backend->script("die", {{{"exit", 1}}});
        const CaseTable<std::string> cases{
            {"alone", {}},
            {"while one shuts the helper down", "shutdown"},
            {"while the helper keeps dying", "die"},
        };
        for (const auto& [disturbance] : cases) {
            std::atomic<int> wrong = 0;
            const auto makeCalls = [&, disturbance = disturbance](int thread) {
                for (int call = 0; call < (disturbance.empty() ? 100 : 10); ++call) {
                    const std::string text = std::to_string(thread) + '/' + std::to_string(call);
                    if (disturbance == "die" && call % 4 == thread % 4)
                        wrong += NeloBackend::call("die") != "ERROR: backend helper terminated";
                    else if (disturbance == "shutdown" && thread == 0)
                        NeloBackend::shutdown();
                    else
                        wrong += NeloBackend::call("echo", {text}) != "[\"" + text + "\"]";
                }
            };
            {
                std::vector<std::jthread> threads;
                for (int thread = 0; thread < 8; ++thread)
                    threads.emplace_back(makeCalls, thread);
            }
            QCOMPARE(wrong.load(), 0);
            verifyNextCallWorks();
        }
    }

    void theProjectRootFollowsTheNameOfTheWorkingDirectory()
    {
        const auto rootFor = [](const char* workingDirectory) {
            return NeloBackend::projectRoot(workingDirectory,
                                            "/build/repository/macos-native/Sources/NeloMenuBar/main.cpp")
                .string();
        };
        QCOMPARE(rootFor("/home/me/nelo/macos-native"), std::string("/home/me/nelo"));
        for (const char* repository : {"/home/me/nelohub", "/家 1/nelohub"})
            QCOMPARE(rootFor(repository), std::string(repository));
        for (const char* other : {"/home/nelohub/work", "/x/macos-native/Sources", "/x/MacOS-native", "/x/NeloHub",
                                  "/x/nelohub2", "/", ""}) // the last one is a folder that is gone
            QVERIFY2(rootFor(other) == "/build/repository", other);
    }

private:
    /// Verifies that the next call works and that no zombie stays.
    void verifyNextCallWorks()
    {
        QCOMPARE(NeloBackend::call("ping"), std::string(R"({"pong":1})"));
        // Further calls reap helpers that have ended. Only the helper that answers is left.
        QTRY_VERIFY(NeloBackend::call("ping") == R"({"pong":1})" && ProcessTable::children().size() == 1U);
    }

    Fresh<LeftoverCheck> m_check{this};
    Fresh<ScriptedBackend> m_backend{this};
};

QTEST_GUILESS_MAIN(TestNeloBackend)
#include "TestNeloBackend.moc"
