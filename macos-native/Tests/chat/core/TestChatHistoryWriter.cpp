#include "chat/core/ChatHistoryWriter.h"

#include "chat/core/ChatHistory.h"
#include "support/Files.h"
#include "support/ProcessTable.h"
#include "support/SmallDisk.h"
#include "support/TestHome.h"
#include "support/Warnings.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <algorithm>
#include <ctime>

#include <sys/resource.h>

namespace {

NeloChatMessage messageOf(const QString& content)
{
    return {QStringLiteral("user"), content, QStringLiteral("2025-01-31T09:30:00Z")};
}

QList<NeloChatMessage> numbered(int count)
{
    QList<NeloChatMessage> messages;
    for (int number = 1; number <= count; ++number)
        messages.append(messageOf(QString::number(number)));
    return messages;
}

/// How long the processor worked for this thread so far.
double threadMilliseconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

} // namespace

/// The delayed write of the conversation, on a real disk.
class TestChatHistoryWriter final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_home = std::make_unique<TestHome>();
        m_messages = {messageOf(QStringLiteral("first"))};
        m_asked = 0;
    }

    void cleanup() { m_home.reset(); }

    void aScheduledWriteComesAfterFourTenthsOfASecond()
    {
        ChatHistoryWriter writer = makeWriter();
        QElapsedTimer timer;
        timer.start();
        writer.schedulePersist();
        QTRY_COMPARE(m_asked, 1);
        QVERIFY2(timer.elapsed() >= 400 && timer.elapsed() < 1500, qPrintable(QString::number(timer.elapsed())));
        QTRY_COMPARE(stored(), m_messages);
    }

    void aBurstOfChangesIsOneWriteAfterTheLast()
    {
        ChatHistoryWriter writer = makeWriter();
        QElapsedTimer sinceLast;
        for (int change = 0; change < 3; ++change) {
            if (change > 0)
                QTRY_VERIFY(sinceLast.elapsed() >= 100);
            writer.schedulePersist();
            sinceLast.start();
        }
        QCOMPARE(m_asked, 0);
        QTRY_COMPARE(m_asked, 1);
        QVERIFY2(sinceLast.elapsed() >= 400, qPrintable(QString::number(sinceLast.elapsed())));
        QTRY_VERIFY(sinceLast.elapsed() >= 850); // long enough for a second one
        QCOMPARE(m_asked, 1);
    }

    void everyWriteHasTheListAsItIsThen()
    {
        ChatHistoryWriter writer = makeWriter();
        writer.schedulePersist();
        m_messages.append(messageOf(QStringLiteral("appended while it was scheduled")));
        QTRY_COMPARE(stored(), m_messages);
        m_messages.append(messageOf(QStringLiteral("later")));
        writer.schedulePersist();
        QTRY_COMPARE(stored(), m_messages);
        QCOMPARE(m_asked, 2);
    }

    void theListIsCappedInMemoryAndInTheFile()
    {
        ChatHistoryWriter writer = makeWriter();
        m_messages = numbered(201);
        writer.persistMessages();
        QCOMPARE(m_messages, numbered(201).mid(1)); // at once
        QTRY_COMPARE(stored(), m_messages);
    }

    void theFileIsPrivate()
    {
        {
            ChatHistoryWriter writer = makeWriter();
            writer.persistMessages();
        }
        QCOMPARE(Files::mode(neloChatHistoryURL()), 0600);
        QCOMPARE(Files::contentOf(neloChatHistoryURL()), encodeChatMessages(m_messages));
    }

    void theFolderIsMade()
    {
        QVERIFY(!QFileInfo::exists(m_home->path(QStringLiteral(".nelo"))));
        {
            ChatHistoryWriter writer = makeWriter();
            writer.persistMessages();
        }
        QCOMPARE(Files::names(m_home->path(QStringLiteral(".nelo"))),
                 QStringList{QStringLiteral("menubar_chat_history.json")});
    }

    void writesAreInOrder()
    {
        {
            ChatHistoryWriter writer = makeWriter();
            for (int round = 0; round < 50; ++round) {
                // A long list takes longer to write than the short one that follows it.
                m_messages = round % 2 == 0 ? numbered(200) : numbered(round);
                writer.persistMessages();
            }
        }
        QCOMPARE(stored(), numbered(49));
    }

    void aWriteThatWasHandedOverIsFinished()
    {
        m_messages = {messageOf(QString(10'000'000, QLatin1Char('x')))};
        {
            ChatHistoryWriter writer = makeWriter();
            writer.persistMessages();
        }
        QCOMPARE(stored(), m_messages);
        QCOMPARE(Files::names(m_home->path(QStringLiteral(".nelo"))),
                 QStringList{QStringLiteral("menubar_chat_history.json")});
    }

    void aScheduledWriteGoesAwayWithItsOwner()
    {
        QElapsedTimer timer;
        {
            ChatHistoryWriter writer = makeWriter();
            writer.schedulePersist();
            timer.start();
        }
        QTRY_VERIFY(timer.elapsed() >= 500);
        QCOMPARE(m_asked, 0);
        QVERIFY(!QFileInfo::exists(neloChatHistoryURL()));
    }

    void aBadFileIsCopiedAsideBeforeTheFirstWriteOnly()
    {
        Files::create(neloChatHistoryURL(), "bad");
        ChatHistoryWriter writer = makeWriter();
        writer.keepUnreadableFile();
        writer.persistMessages();
        QTRY_COMPARE(stored(), m_messages);
        const QString folder = m_home->path(QStringLiteral(".nelo"));
        const QStringList names = Files::names(folder);
        QCOMPARE(names.size(), 2);
        static const QRegularExpression form(
            QStringLiteral("^menubar_chat_history\\.json\\.unreadable\\.\\d{8}-\\d{6}$"));
        QVERIFY2(form.match(names[1]).hasMatch(), qPrintable(names[1]));
        QCOMPARE(Files::contentOf(folder + QLatin1Char('/') + names[1]), QByteArray("bad"));

        Files::create(neloChatHistoryURL(), "bad again, by whoever it was");
        writer.persistMessages();
        QTRY_COMPARE(stored(), m_messages);
        QCOMPARE(Files::names(folder), names);
    }

    void aBadFileThatWasMendedMeanwhileIsCopiedToo()
    {
        const QByteArray mended = encodeChatMessages(numbered(3));
        Files::create(neloChatHistoryURL(), mended);
        {
            ChatHistoryWriter writer = makeWriter();
            writer.keepUnreadableFile();
            writer.persistMessages();
        }
        const QString folder = m_home->path(QStringLiteral(".nelo"));
        QCOMPARE(Files::names(folder).size(), 2);
        QCOMPARE(Files::contentOf(folder + QLatin1Char('/') + Files::names(folder).value(1)), mended);
    }

    void aBadFileStaysUntilItCouldBeCopied()
    {
        const SmallDisk disk;
        qputenv("HOME", QFile::encodeName(disk.path()));
        const QByteArray bad(10'000, '[');
        Files::create(neloChatHistoryURL(), bad);
        disk.fill(4096);
        {
            ChatHistoryWriter writer = makeWriter();
            writer.keepUnreadableFile();
            writer.persistMessages(); // one record would fit
        }
        QCOMPARE(Files::contentOf(neloChatHistoryURL()), bad);

        disk.empty();
        {
            ChatHistoryWriter writer = makeWriter();
            writer.keepUnreadableFile();
            writer.persistMessages();
        }
        QCOMPARE(stored(), m_messages);
        QCOMPARE(Files::names(disk.path(QStringLiteral(".nelo"))).size(), 2);
    }

    void aFullDiskKeepsTheEarlierConversation()
    {
        const SmallDisk disk;
        qputenv("HOME", QFile::encodeName(disk.path()));
        const QList<NeloChatMessage> earlier = numbered(3);
        Files::create(neloChatHistoryURL(), encodeChatMessages(earlier));
        disk.fill(8192);
        m_messages = numbered(200);
        {
            ChatHistoryWriter writer = makeWriter();
            writer.persistMessages();
        }
        QCOMPARE(stored(), earlier);
        QCOMPARE(Files::names(disk.path(QStringLiteral(".nelo"))),
                 QStringList{QStringLiteral("menubar_chat_history.json")});
        QCOMPARE(m_messages, numbered(200)); // the conversation goes on

        disk.empty();
        {
            ChatHistoryWriter writer = makeWriter();
            writer.persistMessages();
        }
        QCOMPARE(stored(), numbered(200));
    }

    void aReadOnlyHomeDoesNotHinderTheChat()
    {
        const SmallDisk disk;
        qputenv("HOME", QFile::encodeName(disk.path()));
        disk.makeReadOnly();
        {
            ChatHistoryWriter writer = makeWriter();
            writer.persistMessages();
        }
        QCOMPARE(Files::names(disk.path()), QStringList());
        QCOMPARE(m_messages.size(), 1);
    }

    void aFileInPlaceOfTheFolderStays()
    {
        Files::create(m_home->path(QStringLiteral(".nelo")), "a file");
        {
            ChatHistoryWriter writer = makeWriter();
            writer.persistMessages();
        }
        QCOMPARE(Files::contentOf(m_home->path(QStringLiteral(".nelo"))), QByteArray("a file"));
        QCOMPARE(Files::names(m_home->path()), QStringList{QStringLiteral(".nelo")});
    }

    void aFolderInPlaceOfTheFileStays()
    {
        QVERIFY(QDir().mkpath(neloChatHistoryURL()));
        {
            ChatHistoryWriter writer = makeWriter();
            writer.persistMessages();
        }
        QVERIFY(QFileInfo(neloChatHistoryURL()).isDir());
    }

    void theMainThreadDoesNotEncode()
    {
        // 20 MB take some ten times as long to encode as the main thread may be held up.
        m_messages = QList<NeloChatMessage>(200, messageOf(QString(100'000, QChar(u'你'))));
        ChatHistoryWriter writer = makeWriter();
        const double before = threadMilliseconds();
        writer.persistMessages();
        const double used = threadMilliseconds() - before;
        QVERIFY2(used < 16, qPrintable(QString::number(used)));
    }

    void theWriterYieldsToOtherThreads()
    {
        const auto yieldingThreads = [] {
            const std::set<pid_t> threads = ProcessTable::threads();
            return std::count_if(threads.begin(), threads.end(), [](pid_t thread) {
                return getpriority(PRIO_PROCESS, static_cast<id_t>(thread)) > getpriority(PRIO_PROCESS, 0);
            });
        };
        ChatHistoryWriter writer = makeWriter();
        QCOMPARE(yieldingThreads(), 0);
        writer.persistMessages();
        QTRY_COMPARE(yieldingThreads(), 1);
    }

private:
    ChatHistoryWriter makeWriter()
    {
        return ChatHistoryWriter([this]() -> QList<NeloChatMessage>& {
            ++m_asked;
            return m_messages;
        });
    }

    QList<NeloChatMessage> stored() const { return loadChatHistory(); }

    std::unique_ptr<TestHome> m_home;
    QList<NeloChatMessage> m_messages;
    int m_asked = 0;
};

int main(int argc, char** argv)
{
    SmallDisk::allowMounts();
    QCoreApplication application(argc, argv);
    TestChatHistoryWriter test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestChatHistoryWriter.moc"
