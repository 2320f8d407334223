#include "chat/ChatCalls.h"

#include "support/ProcessTable.h"
#include "support/Warnings.h"
#include "support/faults/EveryFault.h"

#include <QTest>

/// Asking a provider while one call after the other fails, the client's as well as the server's: both are in here.
class TestChatCallFaults final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void anAnswerOrAFailureComesOnce_data()
    {
        QTest::addColumn<Fault>("fault");
        QTest::addColumn<QStringList>("told"); // one of these; when there is none, the answer comes all the same
        const auto lasting = [](const char* kind, int outcome) {
            return Fault{.kind = kind, .outcome = outcome, .isLasting = true};
        };
        QTest::newRow("nobody listens") << lasting("connect", ECONNREFUSED)
                                        << QStringList{QStringLiteral("<Connection refused>")};
        QTest::newRow("there is no network")
            << lasting("connect", ENETUNREACH) << QStringList{QStringLiteral("<Network unreachable>")};
        QTest::newRow("out of descriptors")
            << lasting("socket", EMFILE) << QStringList{QStringLiteral("<Out of resources>")};
        QTest::newRow("out of ports for a moment")
            << Fault{"connect", EADDRNOTAVAIL} << QStringList(); // Qt tries again

        // While we send the question; while the server sends the answer.
        const QStringList broken{QStringLiteral("<Unknown error>"), QStringLiteral("<Connection closed>")};
        QTest::newRow("the connection breaks") << Fault{"send", ECONNRESET} << broken;
        QTest::newRow("the other end has gone") << Fault{"send", EPIPE} << broken;
        QTest::newRow("a write takes half, and then the connection breaks")
            << Fault{"send", -ECONNRESET} << QStringList{QStringLiteral("<Connection closed>")};
        QTest::newRow("a write takes half") << Fault{"send", 0} << QStringList();
        QTest::newRow("a signal interrupts a write") << Fault{"send", EINTR} << QStringList();

        QTest::newRow("the log cannot be opened") << Fault{"open", EMFILE} << QStringList();
        QTest::newRow("the log cannot be written") << Fault{"write", ENOSPC} << QStringList();
    }

    void anAnswerOrAFailureComesOnce()
    {
        QFETCH(Fault, fault);
        QFETCH(QStringList, told);
        const QString answer(100'000, QLatin1Char('a'));
        const QString question(100'000, QLatin1Char('q'));
        EveryFault faults(fault);
        while (faults.next()) {
            ChatCalls calls(std::chrono::seconds(5));
            calls.server.answerEach(HttpAnswer::message(200, replyBody(answer)));
            QCOMPARE(textOf(calls.ask()), answer); // what is opened once is open then
            const int descriptors = ProcessTable::openDescriptors();
            calls.outcomes.clear();
            faults.during([&] {
                calls.start(question);
                calls.waitForOutcomes(1);
            });
            QCOMPARE(calls.outcomes.size(), 1U);
            const QString outcome = textOf(calls.outcomes.front());
            const bool isToFail = faults.hasStruck() && !told.isEmpty();
            QVERIFY2(isToFail ? told.contains(outcome) : outcome == answer, qPrintable(outcome.left(200)));

            QCOMPARE(textOf(calls.ask()), answer);
            QCOMPARE(calls.outcomes.size(), 1U);
            QTRY_COMPARE(ProcessTable::openDescriptors(), descriptors);
        }
        QVERIFY(faults.strikes() > 0);
    }
};

QTEST_GUILESS_MAIN(TestChatCallFaults)
#include "TestChatCallFaults.moc"
