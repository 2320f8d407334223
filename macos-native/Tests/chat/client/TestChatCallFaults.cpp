#include "chat/ChatCalls.h"

#include "support/CaseTable.h"
#include "support/ProcessTable.h"
#include "support/TestCase.h"
#include "support/faults/EveryFault.h"

#include <algorithm>

using namespace Qt::StringLiterals;

/// Asking a provider while one system call after the other fails. The client and the server are both in this process.
class TestChatCallFaults final : public TestCase
{
    Q_OBJECT

private slots:
    void anAnswerOrAFailureComesOnce()
    {
        const QString answer(100'000, QLatin1Char('a'));
        const QString question(100'000, QLatin1Char('q'));
        const auto lasting = [](const char* kind, int outcome) {
            return Fault{.kind = kind, .outcome = outcome, .isLasting = true};
        };
        const QStringList unreachable{u"<127.0.0.1: Couldn't connect to server>"_s};
        // The connection may break while the question or the answer is sent.
        const QStringList broken{u"<127.0.0.1: Send failure: Connection reset by peer>"_s,
                                 u"<127.0.0.1: Send failure: Broken pipe>"_s, u"<127.0.0.1: Empty reply from server>"_s,
                                 u"<127.0.0.1: transfer closed with "_s};
        // The failure begins with one of the texts. Without a text the answer comes all the same.
        const CaseTable<Fault, QStringList> cases{
            {"nobody listens", lasting("connect", ECONNREFUSED), unreachable},
            {"there is no network", lasting("connect", ENETUNREACH), unreachable},
            {"out of descriptors", lasting("socket", EMFILE), unreachable},
            {"out of ports", Fault{"connect", EADDRNOTAVAIL}, unreachable},
            {"out of threads", lasting("thread", EAGAIN), {u"<127.0.0.1: Failed initialization>"_s}},
            {"the connection breaks", Fault{"send", ECONNRESET}, broken},
            {"the other end has gone", Fault{"send", EPIPE}, broken},
            {"a write takes half, and then the connection breaks", Fault{"send", -ECONNRESET}, broken},
            {"a write takes half", Fault{"send", 0}, {}},
            {"a signal interrupts a write", Fault{"send", EINTR}, {}},
            {"the log cannot be opened", Fault{"open", EMFILE}, {}},
            {"the log cannot be written", Fault{"write", ENOSPC}, {}},
        };
        for (const auto& [fault, texts] : cases) {
            EveryFault faults(fault);
            while (faults.next()) {
                ChatCalls calls(TransferLimits{.silence = std::chrono::seconds(5)});
                calls.server.answerEach(replyOf(answer));
                QCOMPARE(outcomeText(calls.ask()), answer); // later calls open no further descriptors that stay
                calls.client = std::make_unique<ChatClient>(TransferLimits{.silence = std::chrono::seconds(5)});
                const int descriptors = ProcessTable::openDescriptors();
                calls.outcomes.clear();
                faults.during([&] {
                    calls.start(question);
                    calls.waitForOutcomes(1);
                });
                QCOMPARE(calls.outcomes.size(), 1U);
                const QString outcome = outcomeText(calls.outcomes.front());
                const bool isToFail = faults.hasStruck() && !texts.isEmpty();
                const bool isExpected = std::any_of(
                    texts.begin(), texts.end(), [&outcome](const QString& text) { return outcome.startsWith(text); });
                QVERIFY2(isToFail ? isExpected : outcome == answer, qPrintable(outcome.left(200)));

                QCOMPARE(outcomeText(calls.ask()), answer);
                QCOMPARE(calls.outcomes.size(), 1U);
                calls.client.reset();
                QTRY_COMPARE(ProcessTable::openDescriptors(), descriptors);
            }
            QVERIFY(faults.strikes() > 0);
        }
    }
};

QTEST_GUILESS_MAIN(TestChatCallFaults)
#include "TestChatCallFaults.moc"
