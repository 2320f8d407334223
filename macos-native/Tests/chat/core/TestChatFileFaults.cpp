#include "chat/StoredMessages.h"
#include "chat/core/ChatLog.h"
#include "support/ProcessTable.h"
#include "support/TestCase.h"
#include "support/TestHome.h"
#include "support/faults/EveryFault.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The history and the log of the chat while one system call after the other fails.
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

    void aWriteThatGotNoThreadIsDoneLater()
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

    void anEntryIsInTheLogWholeOrNotAtAll_data() { addRowsOfFileFaults(); }

    void anEntryIsInTheLogWholeOrNotAtAll()
    {
        QFETCH(Fault, fault);
        int strikes = 0; // some calls are made for a new log only
        for (const QByteArray& earlier : {QByteArray(), QByteArray("[2025-01-31T09:30:00Z] earlier\n")}) {
            EveryFault faults(fault);
            while (faults.next()) {
                const TestHome home;
                if (!earlier.isEmpty())
                    Files::create(neloChatLogURL(), earlier);
                const int descriptors = ProcessTable::openDescriptors();
                faults.during([] { neloChatLog(u"later"_s); });

                const QByteArray log = contentsOfChatFolder(home).value(0);
                QVERIFY(contentsOfChatFolder(home).size() == (log.isEmpty() ? 0 : 1));
                QVERIFY(log.startsWith(earlier));
                QVERIFY2(log.endsWith("] later\n") || (log == earlier && faults.mayHaveFailed()), log.constData());
                QCOMPARE(ProcessTable::openDescriptors(), descriptors);
                neloChatLog(u"next"_s);
                QVERIFY(Files::contentOf(neloChatLogURL()).endsWith("Z] next\n"));
                QVERIFY(Files::contentOf(neloChatLogURL()).startsWith(log + "[2"));
            }
            strikes += faults.strikes();
        }
        QVERIFY(strikes > 0);
    }

private:
    /// Returns the contents of all files of the chat.
    static QByteArrayList contentsOfChatFolder(const TestHome& home)
    {
        QByteArrayList contents;
        for (const QString& name : Files::names(home.path(u".nelo"_s)))
            contents.append(Files::contentOf(home.path(u".nelo/"_s + name)));
        return contents;
    }
};

QTEST_GUILESS_MAIN(TestChatFileFaults)
#include "TestChatFileFaults.moc"
