#include "chat/core/Conversation.h"

#include "base/Text.h"
#include "chat/StoredMessages.h"
#include "chat/core/NeloChatMessage.h"
#include "support/CaseTable.h"
#include "support/ProcessTable.h"
#include "support/TestCase.h"
#include "support/TestHome.h"

#include <QDateTime>
#include <QElapsedTimer>

#include <algorithm>
#include <ctime>

#include <sys/resource.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto soon = 1ms;
constexpr auto never = 1h;
const QString fileName = u"menubar_chat_history.json"_s;

QList<NeloChatMessage> numbered(qsizetype count, qsizetype contentSize = 0)
{
    QList<NeloChatMessage> messages;
    for (qsizetype number = 1; number <= count; ++number)
        messages.append({userRole, QString::number(number).leftJustified(contentSize, u'x'), u"at noon"_s});
    return messages;
}

/// Returns the contents of the messages.
QStringList contentsOf(const QList<NeloChatMessage>& messages)
{
    QStringList contents;
    for (const NeloChatMessage& message : messages)
        contents.append(message.content);
    return contents;
}

/// Waits without an event loop, like a busy main thread.
template <class Condition> bool isTrueBeforeAnyEvent(Condition condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition() && !timer.hasExpired(20'000))
        std::this_thread::yield();
    return condition();
}

/// Returns the processor time of this thread.
double threadMilliseconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

} // namespace

/// Loading, limiting and writing the conversation, on a real disk.
class TestConversation final : public TestCase
{
    Q_OBJECT

private slots:
    void init() override
    {
        TestCase::init();
        m_threads = ProcessTable::threads();
    }

    void theStoredConversationIsLoadedInFull()
    {
        const CaseTable<QList<NeloChatMessage>> cases{
            {"one record", numbered(1)},
            {"500 records, more than are kept", numbered(500)},
            {"20,000 records", numbered(20'000)},
            {"records of 1 MB", numbered(3, 1'000'000)},
        };
        for (const auto& [kept] : cases) {
            storeHistory(encodeChatMessages(kept));
            Conversation conversation(soon);
            conversation.load();
            QCOMPARE(conversation.messages(), kept);
            conversation.appendMessage(userRole, u"next"_s); // no write is scheduled for it
            QTRY_COMPARE(ProcessTable::threads(), m_threads);
            QCOMPARE(storedMessages(), kept);
        }
    }

    void anEmptyConversationBeginsWithTheWelcome()
    {
        const CaseTable<QByteArray, int> cases{
            {"there is no file", {}, 0},
            {"the list is empty", "[]", 0},
            {"the file is empty", "", 1},
            {"half a list", encodeChatMessages(numbered(2)).chopped(3), 1},
            {"one element lacks its time",
             R"([{"role":"user","content":"a","createdAt":"b"},{"role":"user","content":"a"}])", 1},
        };
        for (const auto& [file, copies] : cases) {
            const TestHome home;
            if (!file.isNull())
                storeHistory(file);
            Conversation conversation(soon);
            conversation.load();
            QCOMPARE(contentsOf(conversation.messages()), QStringList{neloWelcomeMessage});
            QCOMPARE(conversation.messages().constFirst().role, assistantRole);
            QTRY_COMPARE(storedMessages(), conversation.messages());
            QCOMPARE(Files::mode(neloChatHistoryURL()), file.isNull() ? 0600 : 0644); // a file keeps its mode
            QCOMPARE(copiesIn(home).size(), copies);
            for (const QString& copy : copiesIn(home)) {
                QCOMPARE(Files::contentOf(copy), file);
                QCOMPARE(Files::mode(copy), 0600);
            }
        }
    }

    void onlyARegularFileIsReadOrReplaced()
    {
        for (const FileObstacle obstacle : {FileObstacle::Folder, FileObstacle::Pipe, FileObstacle::FileAsFolder}) {
            const TestHome home;
            obstruct(neloChatHistoryURL(), obstacle);
            const QStringList before = Files::names(home.path()) + Files::names(home.path(u".nelo"_s));
            Conversation conversation(never);
            conversation.load();
            conversation.persistMessages();
            QCOMPARE(conversation.messages().size(), 1);
            QCOMPARE(Files::names(home.path()) + Files::names(home.path(u".nelo"_s)), before);
            QVERIFY(!QFileInfo(neloChatHistoryURL()).isFile());
        }
    }

    void aBusyMainThreadDelaysNoWrite()
    {
        Conversation conversation(soon);
        for (const QString& content : {u"first"_s, u"second"_s}) {
            conversation.appendMessage(userRole, content);
            conversation.schedulePersist();
            QVERIFY(isTrueBeforeAnyEvent([&] { return storedMessages() == conversation.messages(); }));
        }
    }

    void aBurstOfChangesIsOneWriteAfterTheLast()
    {
        QCOMPARE(Conversation::defaultPersistDelay, 400ms);
        QCOMPARE(neloChatHistoryURL(), m_home->path(u".nelo/"_s + fileName));
        QVERIFY(QDir(m_home->path()).rmdir(u".nelo"_s)); // the next call makes it again
        Conversation conversation(300ms);
        QElapsedTimer sinceLast;
        for (int change = 0; change < 3; ++change) {
            if (change > 0)
                QTRY_VERIFY(sinceLast.elapsed() >= 150);
            QVERIFY(!QFileInfo::exists(neloChatHistoryURL()));
            conversation.appendMessage(userRole, QString::number(change));
            conversation.schedulePersist();
            sinceLast.start();
        }
        QTRY_COMPARE(storedMessages(), conversation.messages());
        QVERIFY2(sinceLast.elapsed() >= 300 && sinceLast.elapsed() < 2'000,
                 qPrintable(QString::number(sinceLast.elapsed())));
        QVERIFY(QFile::remove(neloChatHistoryURL()));
        QTRY_COMPARE(ProcessTable::threads(), m_threads); // nothing else is scheduled
        QVERIFY(!QFileInfo::exists(neloChatHistoryURL()));
    }

    void theLast200AreKept()
    {
        for (const qsizetype count : {0, 199, 200, 201, 500}) {
            storeHistory(encodeChatMessages(numbered(count)));
            Conversation conversation(never);
            conversation.load();
            const QStringList before = contentsOf(conversation.messages());
            conversation.persistMessages();
            QCOMPARE(contentsOf(conversation.messages()), before.last(std::min<qsizetype>(before.size(), 200)));
            QCOMPARE(storedMessages(), conversation.messages());
        }
    }

    void aScheduledWriteEndsWithTheConversation()
    {
        {
            Conversation conversation(never);
            conversation.schedulePersist();
        } // returns long before the write is due
        QVERIFY(!QFileInfo::exists(neloChatHistoryURL()));
    }

    void aWriteThatHasBegunIsFinished()
    {
        {
            Conversation conversation(soon);
            conversation.appendMessage(userRole, QString(30'000'000, u'x'));
            const int descriptors = ProcessTable::openDescriptors();
            conversation.schedulePersist();
            QVERIFY(isTrueBeforeAnyEvent([descriptors] {
                return ProcessTable::openDescriptors() > descriptors || QFileInfo::exists(neloChatHistoryURL());
            }));
        }
        QCOMPARE(storedMessages().size(), 1);
        QCOMPARE(Files::names(m_home->path(u".nelo"_s)), QStringList{fileName});
    }

    void aBadFileIsCopiedBeforeTheFirstWriteOnly()
    {
        storeHistory("bad");
        Conversation conversation(never);
        conversation.load();
        const QByteArray mended = encodeChatMessages(numbered(3));
        storeHistory(mended); // another program has repaired it: it is copied nevertheless
        conversation.persistMessages();
        QCOMPARE(storedMessages(), conversation.messages());
        const QStringList copies = copiesIn(*m_home);
        QCOMPARE(copies.size(), 1);
        static const QRegularExpression form(u"/menubar_chat_history\\.json\\.unreadable\\.\\d{8}-\\d{6}$"_s);
        QVERIFY2(form.match(copies.first()).hasMatch(), qPrintable(copies.first()));
        QCOMPARE(Files::contentOf(copies.first()), mended);

        storeHistory("bad again");
        conversation.persistMessages();
        QCOMPARE(storedMessages(), conversation.messages());
        QCOMPARE(copiesIn(*m_home), copies);
    }

    void aFileThatMayNotBeReadIsMovedAside()
    {
        // Reading this file fails from its beginning, also for the superuser.
        QVERIFY(QFile::link(u"/proc/self/mem"_s, neloChatHistoryURL()));
        Conversation conversation(never);
        conversation.load();
        conversation.persistMessages();
        QCOMPARE(storedMessages(), conversation.messages());
        QCOMPARE(copiesIn(*m_home).size(), 1);
    }

    void anEarlierCopyIsNotReplaced()
    {
        storeHistory("bad");
        QStringList copies;
        for (int second = 0; second < 60; ++second) {
            const QString time = compactTimestamp(QDateTime::currentDateTime().addSecs(second));
            copies.append(neloChatHistoryURL() + u".unreadable."_s + time);
            Files::create(copies.last(), "an earlier copy");
        }
        Conversation conversation(never);
        conversation.load();
        conversation.persistMessages();
        QCOMPARE(Files::contentOf(neloChatHistoryURL()), QByteArray("bad"));
        for (const QString& copy : std::as_const(copies)) {
            QCOMPARE(Files::contentOf(copy), QByteArray("an earlier copy"));
            QVERIFY(QFile::remove(copy));
        }
        conversation.persistMessages(); // the next write tries again
        QCOMPARE(storedMessages(), conversation.messages());
        QCOMPARE(copiesIn(*m_home).size(), 1);
    }

    void theMainThreadDoesNotEncode()
    {
        // 20 MB take some ten times as long to encode as the main thread may be held up.
        storeHistory(
            encodeChatMessages(QList<NeloChatMessage>(200, NeloChatMessage::now(userRole, QString(100'000, u'你')))));
        Conversation conversation(soon);
        conversation.load();
        const double before = threadMilliseconds();
        conversation.schedulePersist();
        conversation.appendMessage(userRole, u"while it is written"_s);
        const double used = threadMilliseconds() - before;
        QVERIFY2(used < 16, qPrintable(QString::number(used)));
    }

    void theWorkerHasALowerPriority()
    {
        Conversation conversation(never);
        conversation.schedulePersist();
        const auto yields = [this] {
            const int expected = std::min(getpriority(PRIO_PROCESS, 0) + 10, 19); // the tests may run under nice
            const std::set<pid_t> threads = ProcessTable::threads();
            return std::any_of(threads.begin(), threads.end(), [&](pid_t thread) {
                return !m_threads.contains(thread) && getpriority(PRIO_PROCESS, static_cast<id_t>(thread)) == expected;
            });
        };
        QTRY_VERIFY(yields());
    }

private:
    /// Returns the paths of the copies of an unreadable history.
    static QStringList copiesIn(const TestHome& home)
    {
        QStringList paths;
        for (const QString& name : Files::names(home.path(u".nelo"_s)).filter(u".unreadable."_s))
            paths.append(home.path(u".nelo/"_s + name));
        return paths;
    }

    Fresh<TestHome> m_home{this};
    std::set<pid_t> m_threads;
};

QTEST_GUILESS_MAIN(TestConversation)
#include "TestConversation.moc"
