#include "chat/core/ChatHistory.h"

#include "support/Files.h"
#include "support/SmallDisk.h"
#include "support/TestHome.h"
#include "support/Warnings.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTest>

#include <sys/stat.h>

namespace {

const QDateTime now(QDate(2025, 1, 31), QTime(9, 30, 0));
const QString fileName = QStringLiteral("menubar_chat_history.json");
const QString copyName = QStringLiteral("menubar_chat_history.json.unreadable.20250131-093000");

QList<NeloChatMessage> numbered(qsizetype count, qsizetype contentSize = 0)
{
    QList<NeloChatMessage> messages;
    for (qsizetype number = 1; number <= count; ++number) {
        messages.append(
            {QStringLiteral("user"), QString::number(number).leftJustified(contentSize, QLatin1Char('x')), QString()});
    }
    return messages;
}

} // namespace

/// The history file: where it is, how it is read, and what is done before it is replaced.
class TestChatHistory final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_home = std::make_unique<TestHome>();
    }

    void cleanup() { m_home.reset(); }

    void theFileLiesInAFolderThatIsMade()
    {
        QCOMPARE(neloChatHistoryURL(), m_home->path(QStringLiteral(".nelo/menubar_chat_history.json")));
        QVERIFY(QFileInfo(m_home->path(QStringLiteral(".nelo"))).isDir());
        QVERIFY(QDir(m_home->path()).rmdir(QStringLiteral(".nelo")));
        neloChatHistoryURL(); // every call makes it
        QVERIFY(QFileInfo(m_home->path(QStringLiteral(".nelo"))).isDir());
        QVERIFY(!QFileInfo::exists(neloChatHistoryURL()));
    }

    void aFolderThatCannotBeMadeIsNoFailureYet()
    {
        const SmallDisk disk;
        disk.makeReadOnly();
        qputenv("HOME", QFile::encodeName(disk.path()));
        QCOMPARE(neloChatHistoryURL(), disk.path(QStringLiteral(".nelo/menubar_chat_history.json")));
        QVERIFY(!QFileInfo::exists(disk.path(QStringLiteral(".nelo"))));
        QCOMPARE(loadChatHistory(), QList<NeloChatMessage>());
    }

    void aKeptConversationIsLoadedInFull_data()
    {
        QTest::addColumn<QList<NeloChatMessage>>("messages");
        QTest::newRow("an empty one") << QList<NeloChatMessage>();
        QTest::newRow("one record") << numbered(1);
        QTest::newRow("500 records, more than are kept") << numbered(500);
        QTest::newRow("20,000 records") << numbered(20'000);
        QTest::newRow("records of 1 MB") << numbered(3, 1'000'000);
    }

    void aKeptConversationIsLoadedInFull()
    {
        QFETCH(QList<NeloChatMessage>, messages);
        Files::create(neloChatHistoryURL(), encodeChatMessages(messages));
        QCOMPARE(loadChatHistory(), messages);
    }

    void whatCannotBeReadIsAnEmptyConversation_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::newRow("an empty file") << QByteArray("");
        QTest::newRow("half an array") << encodeChatMessages(numbered(2)).chopped(3);
        QTest::newRow("one element without a time among good ones")
            << QByteArray(R"([{"role":"user","content":"a","createdAt":"b"},{"role":"user","content":"a"}])");
    }

    void whatCannotBeReadIsAnEmptyConversation()
    {
        QFETCH(QByteArray, json);
        QCOMPARE(loadChatHistory(), QList<NeloChatMessage>()); // no file yet
        Files::create(neloChatHistoryURL(), json);
        QCOMPARE(loadChatHistory(), QList<NeloChatMessage>());
        QVERIFY(QFile::remove(neloChatHistoryURL()));

        QVERIFY(QDir().mkpath(neloChatHistoryURL()));
        QCOMPARE(loadChatHistory(), QList<NeloChatMessage>());
        QVERIFY(QDir().rmdir(neloChatHistoryURL()));

        QCOMPARE(mkfifo(QFile::encodeName(neloChatHistoryURL()).constData(), 0600), 0);
        QCOMPARE(loadChatHistory(), QList<NeloChatMessage>()); // and nobody waits for a writer
    }

    void aFileInPlaceOfTheFolderIsAnEmptyConversation()
    {
        Files::create(m_home->path(QStringLiteral(".nelo")), "a file");
        QCOMPARE(loadChatHistory(), QList<NeloChatMessage>());
        QCOMPARE(Files::contentOf(m_home->path(QStringLiteral(".nelo"))), QByteArray("a file"));
    }

    void loadingLeavesABadFileAsItIs()
    {
        Files::create(neloChatHistoryURL(), "[{");
        loadChatHistory();
        QCOMPARE(Files::contentOf(neloChatHistoryURL()), QByteArray("[{"));
        QCOMPARE(Files::names(m_home->path(QStringLiteral(".nelo"))), QStringList{fileName});
    }

    void theLast200RecordsAreKept_data()
    {
        QTest::addColumn<qsizetype>("count");
        QTest::addColumn<qsizetype>("dropped");
        QTest::newRow("none") << qsizetype(0) << qsizetype(0);
        QTest::newRow("199") << qsizetype(199) << qsizetype(0);
        QTest::newRow("200") << qsizetype(200) << qsizetype(0);
        QTest::newRow("201") << qsizetype(201) << qsizetype(1);
        QTest::newRow("500") << qsizetype(500) << qsizetype(300);
    }

    void theLast200RecordsAreKept()
    {
        QFETCH(qsizetype, count);
        QFETCH(qsizetype, dropped);
        QList<NeloChatMessage> messages = numbered(count);
        capChatHistory(messages);
        QCOMPARE(messages, numbered(count).mid(dropped));
    }

    void aBadFileIsCopiedAsideOnce()
    {
        const QByteArray bad = R"([{"role":"user")";
        Files::create(neloChatHistoryURL(), bad);
        QVERIFY(preserveUnreadableHistory(neloChatHistoryURL(), now));
        QCOMPARE(Files::names(m_home->path(QStringLiteral(".nelo"))), (QStringList{fileName, copyName}));
        QCOMPARE(Files::contentOf(neloChatHistoryURL()), bad);
        QCOMPARE(Files::contentOf(m_home->path(QStringLiteral(".nelo/") + copyName)), bad);
        QCOMPARE(Files::mode(m_home->path(QStringLiteral(".nelo/") + copyName)), 0600);
    }

    void anEmptyFileIsCopiedAsideToo()
    {
        Files::create(neloChatHistoryURL(), "");
        QVERIFY(preserveUnreadableHistory(neloChatHistoryURL(), now));
        QCOMPARE(Files::names(m_home->path(QStringLiteral(".nelo"))), (QStringList{fileName, copyName}));
    }

    void aFileThatMayNotBeReadIsMovedAside()
    {
        // Looking into one's own memory fails for everybody, the superuser too.
        QVERIFY(QFile::link(QStringLiteral("/proc/self/mem"), neloChatHistoryURL()));
        QVERIFY(preserveUnreadableHistory(neloChatHistoryURL(), now));
        QCOMPARE(Files::names(m_home->path(QStringLiteral(".nelo"))), QStringList{copyName});
    }

    void onlyAFileThatCannotBeUsedIsUnreadable()
    {
        QVERIFY(!loadChatHistoryFile().isUnreadable); // there is none
        Files::create(neloChatHistoryURL(), encodeChatMessages(numbered(3)));
        QVERIFY(!loadChatHistoryFile().isUnreadable);
        Files::create(neloChatHistoryURL(), "[{");
        QVERIFY(loadChatHistoryFile().isUnreadable);
        QVERIFY(QFile::remove(neloChatHistoryURL()));
        QVERIFY(QFile::link(QStringLiteral("/proc/self/mem"), neloChatHistoryURL()));
        QVERIFY(loadChatHistoryFile().isUnreadable);
        QVERIFY(QFile::remove(neloChatHistoryURL()));
        QVERIFY(QDir().mkpath(neloChatHistoryURL()));
        QVERIFY(!loadChatHistoryFile().isUnreadable);
    }

    void noFileIsNotCopied_data()
    {
        QTest::addColumn<bool>("folderInPlace");
        QTest::newRow("nothing there") << false;
        QTest::newRow("a folder there") << true;
    }

    void noFileIsNotCopied()
    {
        QFETCH(bool, folderInPlace);
        if (folderInPlace)
            QVERIFY(QDir().mkpath(neloChatHistoryURL()));
        QVERIFY(preserveUnreadableHistory(neloChatHistoryURL(), now));
        QCOMPARE(Files::names(m_home->path(QStringLiteral(".nelo"))),
                 folderInPlace ? QStringList{fileName} : QStringList());
    }

    void anEarlierCopyIsNotReplaced()
    {
        Files::create(m_home->path(QStringLiteral(".nelo/") + copyName), "the earlier copy");
        Files::create(neloChatHistoryURL(), "bad");
        QVERIFY(!preserveUnreadableHistory(neloChatHistoryURL(), now));
        QCOMPARE(Files::contentOf(m_home->path(QStringLiteral(".nelo/") + copyName)), QByteArray("the earlier copy"));
        QVERIFY(preserveUnreadableHistory(neloChatHistoryURL(), now.addSecs(1)));
    }

    void aBadFileThatCannotBeCopiedIsNotToBeReplaced()
    {
        const SmallDisk disk;
        const QString file = disk.path(fileName);
        Files::create(file, QByteArray(10'000, '['));
        disk.fill(4096);
        QVERIFY(!preserveUnreadableHistory(file, now));
        QCOMPARE(Files::contentOf(file), QByteArray(10'000, '['));
        disk.empty();
        QVERIFY(preserveUnreadableHistory(file, now));
    }

private:
    std::unique_ptr<TestHome> m_home;
};

int main(int argc, char** argv)
{
    SmallDisk::allowMounts();
    QCoreApplication application(argc, argv);
    TestChatHistory test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestChatHistory.moc"
