#include "agents/core/ConfigFile.h"
#include "base/ApiKeyStore.h"
#include "base/AtomicFile.h"
#include "base/IniText.h"
#include "chat/core/ChatLog.h"
#include "chat/core/Conversation.h"
#include "support/CaseTable.h"
#include "support/Files.h"
#include "support/ProcessTable.h"
#include "support/SmallDisk.h"
#include "support/TestCase.h"
#include "support/faults/EveryFault.h"
#include "support/faults/FaultyCalls.h"
#include "support/faults/RandomKills.h"

#include <QDateTime>
#include <QDir>
#include <QSettings>

#include <cerrno>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

/// What is written in a round, from 1: its number, and a filling that is not as long as that of the round before.
QByteArray contentOfRound(int round)
{
    return QByteArray::number(round) + QByteArray(3'000 + round % 17 * 1'000, 'x');
}

/// One of the program's writers of whole files. The home folder says where its file is.
struct Writer
{
    QString file;                                    // relative to the home folder
    bool (*write)(const QString& path, int round);   // returns whether the content of the round is stored
    QByteArray (*content)(const QByteArray& stored); // what the program would read from its file
    int files = 1;                                   // in its folder, after a file was replaced
    bool isSilent = false;                           // says that the content is stored though it is not
};

bool writeAnyFile(const QString& path, int round)
{
    const std::optional<QString> failure = writeFileAtomically(path, contentOfRound(round));
    return !failure || failure->isEmpty(); // a failure has a text
}

bool writeConfig(const QString& path, int round)
{
    return !saveConfigFile(path, contentOfRound(round), QDateTime({2025, 1, 1}, {9, 30}).addSecs(round));
}

bool writeKeys(const QString& /*path*/, int round)
{
    return !ApiKeyStore().setKeys({{u"openai"_s, QString::fromLatin1(contentOfRound(round))}});
}

bool writeConversation(const QString& /*path*/, int round)
{
    Conversation conversation(std::chrono::hours(1));
    conversation.appendMessage(userRole, QString::fromLatin1(contentOfRound(round)));
    conversation.persistMessages();
    return true;
}

/// Logs an entry, now and then the first one of a new log. Returns whether it is there.
bool logEntry(int round)
{
    if (round % 4 == 0)
        QFile::remove(neloChatLogURL());
    const qsizetype entries = Files::contentOf(neloChatLogURL()).count('\n');
    neloChatLog(u"entry"_s);
    return Files::contentOf(neloChatLogURL()).count('\n') == entries + 1;
}

QByteArray keyIn(const QByteArray& stored)
{
    return iniValue(stored, "nelo.menubar.apiKey.openai").toLatin1();
}

QByteArray messageIn(const QByteArray& stored)
{
    const auto messages = decodeChatMessages(stored);
    return messages ? messages->constLast().content.toLatin1() : QByteArray();
}

const QList<Writer> writers{
    {u"folder/file"_s, writeAnyFile, [](const QByteArray& stored) { return stored; }},
    {u"folder/config.json"_s, writeConfig, [](const QByteArray& stored) { return stored; }, 2},
    {u".config/Nelo/TestFileWriters.conf"_s, writeKeys, keyIn},
    {u".nelo/menubar_chat_history.json"_s, writeConversation, messageIn, 1, true},
};

/// The home folder of a writer, which is then found there.
class WritersHome final
{
public:
    explicit WritersHome(const Writer& writer) : path(m_disk.path(writer.file)), m_writer(&writer)
    {
        qputenv("HOME", QFile::encodeName(m_disk.path()));
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_disk.path(u".config"_s));
        QDir().mkpath(QFileInfo(path).path());
    }

    /// Returns the round of the content of the file, 0 when there is no file, and -1 when the content is not whole.
    int storedRound() const { return roundOf(QFileInfo(path).fileName()); }
    int roundOf(const QString& name) const
    {
        const QString file = QFileInfo(path).dir().filePath(name);
        const QByteArray content = m_writer->content(Files::contentOf(file));
        const int round = content.left(content.indexOf('x')).toInt();
        if (!QFile::exists(file))
            return 0;
        return round > 0 && content == contentOfRound(round) ? round : -1;
    }
    QStringList names() const { return Files::names(QFileInfo(path).path()); }

private:
    SmallDisk m_disk{16'777'216};

public:
    const QString path;

private:
    const Writer* m_writer;
};

} // namespace

/// Every file that the program replaces is whole at any time, whatever call fails and whenever the program is killed.
class TestFileWriters final : public TestCase
{
    Q_OBJECT

public:
    static void initMain()
    {
        SmallDisk::allowMounts();
        QCoreApplication::setOrganizationName(u"Nelo"_s);
        QCoreApplication::setApplicationName(u"TestFileWriters"_s);
    }

private slots:
    void aCallThatFailsLeavesTheEarlierFileOrTheNewOne_data() { addRowsOfFileFaults(); }

    void aCallThatFailsLeavesTheEarlierFileOrTheNewOne()
    {
        QFETCH(Fault, fault);
        for (const Writer& writer : writers) {
            for (const int earlier : {0, 1}) {
                EveryFault faults(fault);
                while (faults.next()) {
                    const WritersHome home(writer);
                    QVERIFY(earlier == 0 || writer.write(home.path, earlier));
                    const int descriptors = ProcessTable::openDescriptors();
                    bool isStored = false;
                    faults.during([&] { isStored = writer.write(home.path, 2); });

                    isStored = isStored && (!writer.isSilent || home.storedRound() == 2);
                    QVERIFY(isStored || faults.mayHaveFailed());
                    QCOMPARE(home.storedRound(), isStored ? 2 : earlier);
                    QVERIFY(home.names().filter(u".nelo-writing-"_s).isEmpty());
                    QVERIFY(earlier == 0 || faults.mayHaveFailed() || home.names().size() == writer.files);
                    QCOMPARE(ProcessTable::openDescriptors(), descriptors);
                    QVERIFY(writer.write(home.path, 3));
                    QCOMPARE(home.storedRound(), 3);
                    QCOMPARE(Files::mode(home.path), 0600);
                    for (const QString& name : home.names()) // backups too
                        QVERIFY2(home.roundOf(name) > 0, qPrintable(name));
                }
                QVERIFY(faults.strikes() > 0);
            }
        }
    }

    void aKillAtAnyTimeLeavesAWholeFile()
    {
        for (const Writer& writer : writers) {
            const WritersHome home(writer);
            QVERIFY(writer.write(home.path, 1));
            RandomKills random;
            for (int kill = 0; kill < 200; ++kill) {
                QVERIFY(random.during([&](int round) { return writer.write(home.path, 2 + kill * 1'000 + round); }));
                for (const QString& name : home.names())
                    QVERIFY2(name.startsWith(u".nelo-writing-"_s) || home.roundOf(name) > 0, qPrintable(name));

                QVERIFY(writer.write(home.path, 1)); // as the next start does
                QCOMPARE(home.storedRound(), 1);
                for (const QString& name : home.names()) {
                    QVERIFY2(!name.startsWith(u".nelo-writing-"_s), qPrintable(name));
                    QVERIFY(name == QFileInfo(home.path).fileName()
                            || QFile::remove(QFileInfo(home.path).dir().filePath(name)));
                }
            }
        }
    }

    void aKillAtAnyTimeLeavesWholeEntriesInTheLog()
    {
        const SmallDisk disk;
        qputenv("HOME", QFile::encodeName(disk.path()));
        RandomKills random;
        for (int kill = 0; kill < 200; ++kill) {
            QVERIFY(random.during(logEntry));
            const QByteArrayList lines = Files::contentOf(neloChatLogURL()).split('\n');
            for (const QByteArray& line : lines)
                QVERIFY2(line.isEmpty() || (line.startsWith('[') && line.endsWith("] entry")), line.constData());
            QVERIFY(lines.last().isEmpty());

            Conversation(std::chrono::hours(1)).persistMessages(); // as the next start does
            QVERIFY(Files::names(disk.path(u".nelo"_s)).filter(u".nelo-writing-"_s).isEmpty());
        }
    }

    void theNextWriterRemovesWhatAKilledOneLeft()
    {
        const CaseTable<QByteArray, bool, int> cases{
            {"killed while a file without a name is written", "write", true, 0},
            {"killed while a file with a name is written", "write", false, 1},
            {"killed before a file with a name is on the disk", "sync", false, 1},
            {"killed before a file is given its name", "link", true, 0},
            {"killed after a file was given its name", "rename", true, 1},
            {"killed before a file with a name takes another's place", "rename", false, 1},
        };
        for (const auto& [kind, hasUnnamedFiles, leftovers] : cases) {
            EveryFault kills({kind, NELO_FAULT_KILL});
            while (kills.next()) {
                const QTemporaryDir folder;
                const QString file = folder.filePath(u"file"_s);
                Files::create(file, "earlier");
                kills.during([&, hasUnnamedFiles = hasUnnamedFiles] {
                    if (!hasUnnamedFiles)
                        nelo_faults_arm_from("unnamed", 1, EOPNOTSUPP);
                    if (writeFileAtomically(file, "later"))
                        std::abort();
                });
                QCOMPARE(Files::contentOf(file), kills.hasStruck() ? "earlier" : "later");
                QCOMPARE(Files::names(folder.path()).filter(u".nelo-writing-"_s).size(),
                         kills.hasStruck() ? leftovers : 0);

                QCOMPARE(writeFileAtomically(file, "later"), std::nullopt);
                QCOMPARE(Files::names(folder.path()), QStringList{u"file"_s});
                QCOMPARE(Files::contentOf(file), "later");
            }
            QVERIFY(kills.strikes() > 0);
        }
    }
};

QTEST_GUILESS_MAIN(TestFileWriters)
#include "TestFileWriters.moc"
