#include "backend/NeloBackend.h"

#include "support/Cases.h"
#include "support/ProcessTable.h"
#include "support/ScriptedBackend.h"
#include "support/TestCase.h"
#include "support/faults/EveryFault.h"

#include <QDir>
#include <QFile>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

const std::string question = "ping";
const std::string goodAnswer = R"({"pong":1})";

/// What the next helper is to suffer from, through its environment; nothing once the object has gone.
class HelperFault final
{
public:
    HelperFault(const Fault& fault, int number, const QString& struckFile)
    {
        qputenv("LD_PRELOAD", NELO_FAULTY_CALLS);
        qputenv("NELO_FAULT",
                "python3:" + fault.kind + ':' + QByteArray::number(number) + ':' + QByteArray::number(fault.outcome));
        qputenv("NELO_FAULT_STRUCK", QFile::encodeName(struckFile));
    }
    HelperFault(const HelperFault&) = delete;
    HelperFault& operator=(const HelperFault&) = delete;
    ~HelperFault()
    {
        for (const char* variable : {"LD_PRELOAD", "NELO_FAULT", "NELO_FAULT_STRUCK"})
            qunsetenv(variable);
    }
};

bool isAnswerOrFailure(const std::string& reply)
{
    return reply == goodAnswer || (reply.starts_with("ERROR: ") && reply.size() > std::string("ERROR: ").size());
}

} // namespace

/// Starting the helper and asking it something, while one call after the other fails: on our side or on the helper's.
class TestBackendFaults final : public TestCase
{
    Q_OBJECT

private slots:
    void init()
    {
        TestCase::init();
        m_descriptorsBefore = ProcessTable::openDescriptors();
        m_backend.emplace();
        m_backend->answer(question, {{"pong", 1}});
    }

    void cleanup()
    {
        m_backend.reset();
        QVERIFY(ProcessTable::children().empty());
        QCOMPARE(ProcessTable::openDescriptors(), m_descriptorsBefore);
    }

    void aCallAnswersOrSaysWhyNot_data()
    {
        const Cases<Fault, QString> add("fault", "told");
        add("out of descriptors", Fault{"pipe", EMFILE}, u"ERROR: Too many open files"_s);
        add("out of processes", Fault{"spawn", EAGAIN}, u"ERROR: Resource temporarily unavailable"_s);
        add("out of memory for a process", Fault{"spawn", ENOMEM}, u"ERROR: Cannot allocate memory"_s);
        add("a pipe that breaks", Fault{"write", EPIPE}, u"ERROR: backend helper terminated"_s);
        add("a pipe that fails", Fault{"write", EIO}, u"ERROR: Input/output error"_s);
        add("a request that breaks off", Fault{"write", -EIO}, u"ERROR: Input/output error"_s);
        add("a request in two halves", Fault{"write", 0}, QString::fromStdString(goodAnswer));
        add("a signal meanwhile", Fault{"write", EINTR}, QString::fromStdString(goodAnswer));
    }

    void aCallAnswersOrSaysWhyNot()
    {
        QFETCH(Fault, fault);
        QFETCH(QString, told);
        EveryFault faults(fault);
        while (faults.next()) {
            NeloBackend::shutdown();
            const int descriptors = ProcessTable::openDescriptors();
            std::string reply;
            faults.during([&] { reply = NeloBackend::call(question); });
            QCOMPARE(QString::fromStdString(reply), faults.hasStruck() ? told : QString::fromStdString(goodAnswer));
            QTRY_VERIFY(NeloBackend::call(question) == goodAnswer && ProcessTable::children().size() == 1U);
            NeloBackend::shutdown();
            QCOMPARE(ProcessTable::openDescriptors(), descriptors);
        }
        QVERIFY(faults.strikes() > 0);
    }

    void aHelperInTroubleAnswersOrIsReplaced_data()
    {
        const Cases<Fault> add("fault");
        add("it cannot open a file", Fault{"open", EMFILE});
        add("it gets no memory", Fault{"map", ENOMEM});
        add("it cannot write its reply", Fault{"write", EIO});
        add("a signal interrupts its reply", Fault{.kind = "write", .outcome = EINTR, .isSurvived = true});
        add("it writes half of its reply", Fault{.kind = "write", .outcome = 0, .isSurvived = true});
    }

    void aHelperInTroubleAnswersOrIsReplaced()
    {
        QFETCH(Fault, fault);
        const QString struck = m_backend->folder(u"struck"_s);
        int number = 0;
        do {
            QFile::remove(struck);
            NeloBackend::shutdown();
            std::string reply;
            {
                const HelperFault trouble(fault, ++number, struck);
                reply = NeloBackend::call(question);
            }
            QVERIFY2(isAnswerOrFailure(reply), reply.c_str());
            QVERIFY2(reply == goodAnswer || (QFile::exists(struck) && !fault.isSurvived), reply.c_str());
            if (!QFile::exists(struck))
                NeloBackend::shutdown(); // before it comes to that in the next call
            const std::string next = NeloBackend::call(question);
            QVERIFY2(next == goodAnswer, next.c_str());
        } while (QFile::exists(struck));
        QVERIFY(number > 1);
    }

private:
    int m_descriptorsBefore = 0;
    std::optional<ScriptedBackend> m_backend;
};

QTEST_GUILESS_MAIN(TestBackendFaults)
#include "TestBackendFaults.moc"
