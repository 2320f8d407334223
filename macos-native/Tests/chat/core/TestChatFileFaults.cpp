#include "chat/StoredMessages.h"
#include "chat/core/ChatLog.h"
#include "support/Cases.h"
#include "support/ProcessTable.h"
#include "support/TestCase.h"
#include "support/TestHome.h"
#include "support/faults/EveryFault.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// The chat's files by what they hold.
QByteArrayList contentsOfChatFolder(const TestHome& home)
{
    QByteArrayList contents;
    for (const QString& name : Files::names(home.path(u".nelo"_s)))
        contents.append(Files::contentOf(home.path(u".nelo/"_s + name)));
    return contents;
}

} // namespace

/// The history and the log of the chat while one call after the other fails.
class TestChatFileFaults final : public TestCase
{
    Q_OBJECT

private slots:
    void anUnreadableHistoryIsNeverLost_data() { addRowsOfFileFaults(); }

    void anUnreadableHistoryIsNeverLost()
    {
        QFETCH(Fault, fault);
        const QByteArray unreadable(5'000, '[');
        EveryFault faults(fault);
        while (faults.next()) {
            const TestHome home;
            storeHistory(unreadable);
            Conversation conversation(1h);
            conversation.load();
            faults.during([&conversation] { conversation.persistMessages(); });

            const QByteArray later = encodeChatMessages(conversation.messages());
            const QByteArrayList contents = contentsOfChatFolder(home);
            QVERIFY(contents.contains(unreadable));
            QCOMPARE(contents.count(unreadable) + contents.count(later), contents.size());
            QVERIFY(contents.contains(later) || faults.mayHaveFailed());
        }
        QVERIFY(faults.strikes() > 0);
    }

    void aWriteWithoutAThreadIsMadeUpFor()
    {
        const TestHome home;
        Conversation conversation(1ms);
        EveryFault faults({.kind = "thread", .outcome = EAGAIN});
        QVERIFY(faults.next());
        faults.during([&conversation] { conversation.load(); });
        QVERIFY(faults.hasStruck());
        conversation.schedulePersist();
        QTRY_COMPARE(storedMessages(), conversation.messages());
    }

    void anEntryIsInTheLogOrIsNot_data()
    {
        const Cases<Fault> add("fault");
        add("the log cannot be opened", Fault{"open", EMFILE});
        add("the disk is full", Fault{"write", ENOSPC});
        add("a signal interrupts a write", Fault{.kind = "write", .outcome = EINTR, .isSurvived = true});
        add("a write takes half", Fault{.kind = "write", .outcome = 0, .isSurvived = true});
        add("a write takes half, and then the disk is full", Fault{"write", -ENOSPC});
    }

    void anEntryIsInTheLogOrIsNot()
    {
        QFETCH(Fault, fault);
        const QByteArray earlier = "[2025-01-31T09:30:00Z] earlier\n";
        EveryFault faults(fault);
        while (faults.next()) {
            const TestHome home;
            Files::create(neloChatLogURL(), earlier);
            const int descriptors = ProcessTable::openDescriptors();
            faults.during([] { neloChatLog(u"later"_s); });

            const QByteArray log = Files::contentOf(neloChatLogURL());
            QVERIFY(log.startsWith(earlier));
            QVERIFY2(log.endsWith("] later\n") || (log == earlier && faults.mayHaveFailed()), log.constData());
            QCOMPARE(ProcessTable::openDescriptors(), descriptors);
            neloChatLog(u"next"_s);
            QVERIFY(Files::contentOf(neloChatLogURL()).endsWith("Z] next\n"));
            QVERIFY(Files::contentOf(neloChatLogURL()).startsWith(log + "[2"));
        }
        QVERIFY(faults.strikes() > 0);
    }

    void theFirstEntryIsInTheLogOrIsNot_data() { addRowsOfFileFaults(); }

    void theFirstEntryIsInTheLogOrIsNot()
    {
        QFETCH(Fault, fault);
        EveryFault faults(fault);
        while (faults.next()) {
            const TestHome home;
            faults.during([] { neloChatLog(u"first"_s); });

            const QByteArrayList contents = contentsOfChatFolder(home);
            QVERIFY(contents.size() == 1 || (contents.isEmpty() && faults.mayHaveFailed()));
            QVERIFY(contents.isEmpty() || contents.first().endsWith("] first\n"));
            neloChatLog(u"next"_s);
            QVERIFY(Files::contentOf(neloChatLogURL()).endsWith("Z] next\n"));
        }
        QVERIFY(faults.strikes() > 0);
    }
};

QTEST_GUILESS_MAIN(TestChatFileFaults)
#include "TestChatFileFaults.moc"
