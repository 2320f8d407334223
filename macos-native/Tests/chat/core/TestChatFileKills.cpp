#include "chat/StoredMessages.h"
#include "chat/core/ChatLog.h"
#include "support/SmallDisk.h"
#include "support/Warnings.h"
#include "support/faults/RandomKills.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int kills = 200;

/// Writes a conversation of `size` messages of its own kind, and returns them.
QList<NeloChatMessage> persist(qsizetype size)
{
    Conversation conversation(1h);
    for (qsizetype number = 0; number < size; ++number)
        conversation.appendMessage(userRole, QString(1000 + size, u'x'));
    conversation.persistMessages();
    return conversation.messages();
}

/// A round of the history: a conversation of another length. Returns whether it is there.
bool historyRound(int round)
{
    return persist(round % 20 + 1) == storedMessages();
}

/// A round of the log: an entry, and now and then a log that begins anew. Returns whether the entry is there.
bool logRound(int round)
{
    if (round % 4 == 0)
        QFile::remove(neloChatLogURL());
    const qsizetype entries = Files::contentOf(neloChatLogURL()).count('\n');
    neloChatLog(u"entry"_s);
    return Files::contentOf(neloChatLogURL()).count('\n') == entries + 1;
}

} // namespace

/// The history and the log of a chat that is killed while it writes them.
class TestChatFileKills final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        qputenv("HOME", QFile::encodeName(m_disk.path()));
    }

    void theHistoryIsWhole()
    {
        RandomKills random;
        for (int kill = 0; kill < kills; ++kill) {
            QVERIFY(random.during(historyRound));
            const QList<NeloChatMessage> messages = storedMessages();
            QVERIFY(!messages.isEmpty());
            for (const NeloChatMessage& message : messages)
                QCOMPARE(message.content.size(), 1000 + messages.size());

            persist(30); // as the next start does
            QCOMPARE(names(), QStringList{u"menubar_chat_history.json"_s});
        }
    }

    void theLogHasWholeEntries()
    {
        RandomKills random;
        for (int kill = 0; kill < kills; ++kill) {
            QVERIFY(random.during(logRound));
            const QList<QByteArray> lines = Files::contentOf(neloChatLogURL()).split('\n');
            for (const QByteArray& line : lines)
                QVERIFY2(line.isEmpty() || (line.startsWith('[') && line.endsWith("] entry")), line.constData());
            QVERIFY(lines.last().isEmpty());

            persist(1);
            QVERIFY(names().filter(u"nelo"_s).isEmpty());
        }
    }

private:
    QStringList names() const { return Files::names(m_disk.path(u".nelo"_s)); }

    SmallDisk m_disk;
};

int main(int argc, char** argv)
{
    SmallDisk::allowMounts();
    QCoreApplication application(argc, argv);
    TestChatFileKills test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestChatFileKills.moc"
