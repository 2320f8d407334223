#include "chat/core/ChatHistory.h"
#include "chat/core/ChatHistoryWriter.h"
#include "chat/core/ChatLog.h"

#include "support/Files.h"
#include "support/ProcessTable.h"
#include "support/TestHome.h"
#include "support/Warnings.h"
#include "support/faults/EveryFault.h"

#include <QDir>
#include <QTest>

namespace {

QList<NeloChatMessage> conversation(int size)
{
    const QString text(1000, QLatin1Char('x'));
    return {size, NeloChatMessage{QStringLiteral("user"), text, QStringLiteral("2025-01-31T09:30:00Z")}};
}

/// Writes the conversation as the chat does, and waits for it.
void persist(QList<NeloChatMessage> messages, bool isFileUnreadable = false)
{
    ChatHistoryWriter writer([&messages]() -> QList<NeloChatMessage>& { return messages; });
    if (isFileUnreadable)
        writer.keepUnreadableFile();
    writer.persistMessages();
}

/// The folder's files by what they hold.
QByteArrayList contentsOfChatFolder(const TestHome& home)
{
    const QDir folder(home.path(QStringLiteral(".nelo")));
    QByteArrayList contents;
    for (const QString& name : Files::names(folder.path()))
        contents.append(Files::contentOf(folder.filePath(name)));
    return contents;
}

} // namespace

/// The history and the log of the chat while one call after the other fails.
class TestChatFileFaults final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void theEarlierConversationStaysOrTheNewOneIsThere_data() { addRowsOfFileFaults(); }

    void theEarlierConversationStaysOrTheNewOneIsThere()
    {
        QFETCH(Fault, fault);
        const QByteArray earlier = encodeChatMessages(conversation(3));
        const QByteArray later = encodeChatMessages(conversation(200));
        EveryFault faults(fault);
        while (faults.next()) {
            const TestHome home;
            Files::create(neloChatHistoryURL(), earlier);
            const int descriptors = ProcessTable::openDescriptors();
            faults.during([] { persist(conversation(200)); });

            const QByteArray stored = Files::contentOf(neloChatHistoryURL());
            QVERIFY(stored == later || (stored == earlier && faults.mayHaveFailed()));
            QCOMPARE(contentsOfChatFolder(home).size(), 1);
            QCOMPARE(ProcessTable::openDescriptors(), descriptors);
            persist(conversation(200));
            QCOMPARE(Files::contentOf(neloChatHistoryURL()), later);
        }
        QVERIFY(faults.strikes() > 0);
    }

    void anUnreadableHistoryIsNeverLost_data() { addRowsOfFileFaults(); }

    void anUnreadableHistoryIsNeverLost()
    {
        QFETCH(Fault, fault);
        const QByteArray unreadable(5'000, '[');
        const QByteArray later = encodeChatMessages(conversation(3));
        EveryFault faults(fault);
        while (faults.next()) {
            const TestHome home;
            Files::create(neloChatHistoryURL(), unreadable);
            faults.during([] { persist(conversation(3), true); });

            const QByteArrayList contents = contentsOfChatFolder(home);
            QVERIFY(contents.contains(unreadable));
            QVERIFY(contents.count(unreadable) + contents.count(later) == contents.size());
            QVERIFY(contents.contains(later) || faults.mayHaveFailed());
            persist(conversation(3));
            QCOMPARE(Files::contentOf(neloChatHistoryURL()), later);
        }
        QVERIFY(faults.strikes() > 0);
    }

    void anEntryIsInTheLogOrIsNot_data()
    {
        QTest::addColumn<Fault>("fault");
        QTest::newRow("the log cannot be opened") << Fault{"open", EMFILE};
        QTest::newRow("the disk is full") << Fault{"write", ENOSPC};
        QTest::newRow("a signal interrupts a write") << Fault{.kind = "write", .outcome = EINTR, .isSurvived = true};
        QTest::newRow("a write takes half") << Fault{.kind = "write", .outcome = 0, .isSurvived = true};
        QTest::newRow("a write takes half, and then the disk is full") << Fault{"write", -ENOSPC};
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
            faults.during([] { neloChatLog(QStringLiteral("later")); });

            const QByteArray log = Files::contentOf(neloChatLogURL());
            QVERIFY(log.startsWith(earlier));
            QVERIFY2(log.endsWith("] later\n") || (log == earlier && faults.mayHaveFailed()), log.constData());
            QCOMPARE(ProcessTable::openDescriptors(), descriptors);
            neloChatLog(QStringLiteral("next"));
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
            faults.during([] { neloChatLog(QStringLiteral("first")); });

            const QByteArrayList contents = contentsOfChatFolder(home);
            QVERIFY(!contents.isEmpty() || faults.mayHaveFailed());
            QVERIFY(contents.isEmpty() || contents.first().endsWith("] first\n"));
            QVERIFY(contents.size() <= 1);
            neloChatLog(QStringLiteral("next"));
            QVERIFY(Files::contentOf(neloChatLogURL()).endsWith("Z] next\n"));
        }
        QVERIFY(faults.strikes() > 0);
    }
};

QTEST_GUILESS_MAIN(TestChatFileFaults)
#include "TestChatFileFaults.moc"
