#include "backend/NeloBackend.h"

#include "support/CaseTable.h"
#include "support/JsonToString.h"
#include "support/LeftoverCheck.h"
#include "support/ScriptedBackend.h"
#include "support/TestCase.h"
#include "support/faults/EveryFault.h"

#include <QFile>
#include <QScopeGuard>

using namespace Qt::StringLiterals;

namespace {

const std::string question = "ping";
const std::string goodAnswer = R"({"pong":1})";

/// Gives the next helper a fault through its environment, as long as the returned guard lives.
[[nodiscard]] auto helperFault(const Fault& fault, int number, const QString& struckFile)
{
    qputenv("LD_PRELOAD", NELO_FAULTY_CALLS);
    qputenv("NELO_FAULT",
            "python3:" + fault.kind + ':' + QByteArray::number(number) + ':' + QByteArray::number(fault.outcome));
    qputenv("NELO_FAULT_STRUCK", QFile::encodeName(struckFile));
    return qScopeGuard([] {
        for (const char* variable : {"LD_PRELOAD", "NELO_FAULT", "NELO_FAULT_STRUCK"})
            qunsetenv(variable);
    });
}

} // namespace

/// Starting the helper and calling a function, while one system call after the other fails in the program or the
/// helper.
class TestBackendFaults final : public TestCase
{
    Q_OBJECT

private slots:
    void init() override
    {
        TestCase::init();
        m_backend->answer(question, {{"pong", 1}});
    }

    void aCallGivesItsAnswerOrTheReason()
    {
        const CaseTable<Fault, std::string> cases{
            {"out of descriptors", Fault{"pipe", EMFILE}, "ERROR: Too many open files"},
            {"out of processes", Fault{"spawn", EAGAIN}, "ERROR: Resource temporarily unavailable"},
            {"out of memory for a process", Fault{"spawn", ENOMEM}, "ERROR: Cannot allocate memory"},
            {"a pipe that breaks", Fault{"write", EPIPE}, "ERROR: backend helper terminated"},
            {"a pipe that fails", Fault{"write", EIO}, "ERROR: Input/output error"},
            {"a request that breaks off", Fault{"write", -EIO}, "ERROR: Input/output error"},
            {"a request in two halves", Fault{"write", 0}, goodAnswer},
            {"a signal meanwhile", Fault{"write", EINTR}, goodAnswer},
        };
        for (const auto& [fault, answer] : cases) {
            EveryFault faults(fault);
            while (faults.next()) {
                NeloBackend::shutdown();
                const int descriptors = ProcessTable::openDescriptors();
                std::string reply;
                faults.during([&] { reply = NeloBackend::call(question); });
                QCOMPARE(reply, faults.hasStruck() ? answer : goodAnswer);
                QTRY_VERIFY(NeloBackend::call(question) == goodAnswer && ProcessTable::children().size() == 1U);
                NeloBackend::shutdown();
                QCOMPARE(ProcessTable::openDescriptors(), descriptors);
            }
            QVERIFY(faults.strikes() > 0);
        }
    }

    void aHelperWithAFaultAnswersOrIsReplaced()
    {
        const CaseTable<Fault> cases{
            {"it cannot open a file", Fault{"open", EMFILE}},
            {"it gets no memory", Fault{"map", ENOMEM}},
            {"it cannot write its reply", Fault{"write", EIO}},
            {"a signal interrupts its reply", Fault{.kind = "write", .outcome = EINTR, .isSurvived = true}},
            {"it writes half of its reply", Fault{.kind = "write", .outcome = 0, .isSurvived = true}},
        };
        const QString struck = m_backend->folder(u"struck"_s);
        for (const auto& [fault] : cases) {
            int number = 0;
            do {
                QFile::remove(struck);
                NeloBackend::shutdown();
                std::string reply;
                {
                    const auto trouble = helperFault(fault, ++number, struck);
                    reply = NeloBackend::call(question);
                }
                const bool mayFail = QFile::exists(struck) && !fault.isSurvived;
                const bool isFailure = reply.starts_with("ERROR: ") && reply.size() > std::string("ERROR: ").size();
                QVERIFY2(reply == goodAnswer || (mayFail && isFailure), reply.c_str());
                if (!QFile::exists(struck))
                    NeloBackend::shutdown(); // otherwise the fault would come in the next call
                QCOMPARE(NeloBackend::call(question), goodAnswer);
            } while (QFile::exists(struck));
            QVERIFY(number > 1);
        }
    }

private:
    Fresh<LeftoverCheck> m_check{this};
    Fresh<ScriptedBackend> m_backend{this};
};

QTEST_GUILESS_MAIN(TestBackendFaults)
#include "TestBackendFaults.moc"
