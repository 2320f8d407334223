#include "chat/core/ChatHistory.h"
#include "chat/core/ChatHistoryWriter.h"
#include "chat/core/ChatLog.h"

#include "support/Files.h"
#include "support/SmallDisk.h"
#include "support/Warnings.h"
#include "support/faults/RandomKills.h"

#include <QFile>
#include <QTest>

namespace {

constexpr int kills = 200;

QList<NeloChatMessage> conversation(qsizetype size)
{
    const QString text(1000 + size, QLatin1Char('x'));
    return {size, NeloChatMessage{QStringLiteral("user"), text, QStringLiteral("2025-01-31T09:30:00Z")}};
}

/// Writes the conversation as the chat does, and waits for it.
void persist(QList<NeloChatMessage> messages)
{
    ChatHistoryWriter writer([&messages]() -> QList<NeloChatMessage>& { return messages; });
    writer.persistMessages();
}

/// A round of the history: a conversation of another length. Whether it is there.
bool historyRound(int round)
{
    const QList<NeloChatMessage> messages = conversation(round % 20 + 1);
    persist(messages);
    return Files::contentOf(neloChatHistoryURL()) == encodeChatMessages(messages);
}

/// A round of the log: an entry, and now and then a log that begins anew. Whether the entry is there.
bool logRound(int round)
{
    if (round % 4 == 0)
        QFile::remove(neloChatLogURL());
    const qsizetype entries = Files::contentOf(neloChatLogURL()).count('\n');
    neloChatLog(QStringLiteral("entry"));
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
            const LoadedChatHistory loaded = loadChatHistoryFile();
            QVERIFY(!loaded.isUnreadable);
            QCOMPARE(loaded.messages, conversation(loaded.messages.size()));
            QVERIFY(!loaded.messages.isEmpty());

            persist(conversation(30)); // as the next start does
            QCOMPARE(names(), QStringList{QStringLiteral("menubar_chat_history.json")});
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

            persist(conversation(1));
            QVERIFY(names().filter(QStringLiteral("nelo")).isEmpty());
        }
    }

private:
    QStringList names() const { return Files::names(m_disk.path(QStringLiteral(".nelo"))); }

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
