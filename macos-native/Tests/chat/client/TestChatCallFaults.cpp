#include "chat/ChatCalls.h"

#include "support/ProcessTable.h"
#include "support/TestCase.h"
#include "support/faults/EveryFault.h"

#include <algorithm>

using namespace Qt::StringLiterals;

/// Asking a provider while one call after the other fails, the client's as well as the server's: both are in here.
class TestChatCallFaults final : public TestCase
{
    Q_OBJECT

private slots:
    void anAnswerOrAFailureComesOnce_data()
    {
        QTest::addColumn<Fault>("fault");
        QTest::addColumn<QStringList>(
            "told"); // begins with one of these; when there is none, the answer comes all the same
        const auto lasting = [](const char* kind, int outcome) {
            return Fault{.kind = kind, .outcome = outcome, .isLasting = true};
        };
        const QStringList unreachable{u"<127.0.0.1: Couldn't connect to server>"_s};
        QTest::newRow("nobody listens") << lasting("connect", ECONNREFUSED) << unreachable;
        QTest::newRow("there is no network") << lasting("connect", ENETUNREACH) << unreachable;
        QTest::newRow("out of descriptors") << lasting("socket", EMFILE) << unreachable;
        QTest::newRow("out of ports") << Fault{"connect", EADDRNOTAVAIL} << unreachable;
        QTest::newRow("out of threads") << lasting("thread", EAGAIN)
                                        << QStringList{u"<127.0.0.1: Failed initialization>"_s};

        // While we send the question; while the server sends the answer.
        const QStringList broken{u"<127.0.0.1: Send failure: Connection reset by peer>"_s,
                                 u"<127.0.0.1: Send failure: Broken pipe>"_s, u"<127.0.0.1: Empty reply from server>"_s,
                                 u"<127.0.0.1: transfer closed with "_s};
        QTest::newRow("the connection breaks") << Fault{"send", ECONNRESET} << broken;
        QTest::newRow("the other end has gone") << Fault{"send", EPIPE} << broken;
        QTest::newRow("a write takes half, and then the connection breaks") << Fault{"send", -ECONNRESET} << broken;
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
            ChatCalls calls(TransferLimits{.silence = std::chrono::seconds(5)});
            calls.server.answerEach(replyOf(answer));
            QCOMPARE(textOf(calls.ask()), answer); // what is opened once is open then
            calls.client = std::make_unique<ChatClient>(TransferLimits{.silence = std::chrono::seconds(5)});
            const int descriptors = ProcessTable::openDescriptors();
            calls.outcomes.clear();
            faults.during([&] {
                calls.start(question);
                calls.waitForOutcomes(1);
            });
            QCOMPARE(calls.outcomes.size(), 1U);
            const QString outcome = textOf(calls.outcomes.front());
            const bool isToFail = faults.hasStruck() && !told.isEmpty();
            const bool isTold = std::any_of(told.begin(), told.end(), [&outcome](const QString& beginning) {
                return outcome.startsWith(beginning);
            });
            QVERIFY2(isToFail ? isTold : outcome == answer, qPrintable(outcome.left(200)));

            QCOMPARE(textOf(calls.ask()), answer);
            QCOMPARE(calls.outcomes.size(), 1U);
            calls.client.reset();
            QTRY_COMPARE(ProcessTable::openDescriptors(), descriptors);
        }
        QVERIFY(faults.strikes() > 0);
    }
};

QTEST_GUILESS_MAIN(TestChatCallFaults)
#include "TestChatCallFaults.moc"
