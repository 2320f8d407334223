#include "chat/StoredMessages.h"
#include "chat/core/ChatLog.h"
#include "support/SmallDisk.h"
#include "support/TestCase.h"
#include "support/faults/RandomKills.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int kills = 200;

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

/// The log of a chat that is killed while it writes it.
class TestChatFileKills final : public TestCase
{
    Q_OBJECT

public:
    static void initMain() { SmallDisk::allowMounts(); }

private slots:
    void init()
    {
        TestCase::init();
        qputenv("HOME", QFile::encodeName(m_disk.path()));
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

            Conversation(1h).persistMessages(); // as the next start does
            QVERIFY(names().filter(u"nelo"_s).isEmpty());
        }
    }

private:
    QStringList names() const { return Files::names(m_disk.path(u".nelo"_s)); }

    SmallDisk m_disk;
};

QTEST_GUILESS_MAIN(TestChatFileKills)
#include "TestChatFileKills.moc"
