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
    void anAnswerOrAFailureComesOnce_data();
    void anAnswerOrAFailureComesOnce();
};

void TestChatCallFaults::anAnswerOrAFailureComesOnce_data()
{
    QTest::addColumn<Fault>("fault");
    QTest::newRow("nobody listens") << Fault{"connect", ECONNREFUSED};
    QTest::newRow("there is no network") << Fault{"connect", ENETUNREACH};
    QTest::newRow("out of ports") << Fault{"connect", EADDRNOTAVAIL};
    QTest::newRow("the connection breaks") << Fault{"write", ECONNRESET};
    QTest::newRow("the other end has gone") << Fault{"write", EPIPE};
    QTest::newRow("a write takes half") << Fault{"write", 0};
    QTest::newRow("a write takes half, and then the connection breaks") << Fault{"write", -ECONNRESET};
    QTest::newRow("a signal interrupts a write") << Fault{"write", EINTR};
    QTest::newRow("out of descriptors") << Fault{"open", EMFILE};
}

void TestChatCallFaults::anAnswerOrAFailureComesOnce()
{
    QFETCH(Fault, fault);
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
        QVERIFY2(outcome == answer || (faults.hasStruck() && outcome.startsWith(u'<') && outcome.size() > 2),
                 qPrintable(outcome.left(200)));

        QCOMPARE(textOf(calls.ask()), answer);
        QCOMPARE(calls.outcomes.size(), 1U);
        QTRY_COMPARE(ProcessTable::openDescriptors(), descriptors);
    }
    QVERIFY(faults.strikes() > 0);
}

QTEST_GUILESS_MAIN(TestChatCallFaults)
#include "TestChatCallFaults.moc"
