#include "agents/ConfigFile.h"

#include "support/Files.h"
#include "support/ProcessTable.h"
#include "support/SmallDisk.h"
#include "support/Warnings.h"
#include "support/faults/EveryFault.h"
#include "support/faults/RandomKills.h"

#include <QDateTime>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

/// Saving a configuration while one call after the other fails, and in programs that are killed.
class TestConfigFileFaults final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }
    void theEarlierFileStaysOrTheNewOneIsThere_data() { addRowsOfFileFaults(); }
    void theEarlierFileStaysOrTheNewOneIsThere();
    void aFileThatIsMadeIsWholeOrMissing_data() { addRowsOfFileFaults(); }
    void aFileThatIsMadeIsWholeOrMissing();
    void filesAndBackupsAreWholeAfterEveryKill();
};

namespace {

const QDateTime& newYear()
{
    static const QDateTime time(QDate(2025, 1, 1), QTime(9, 30));
    return time;
}

/// What is saved in a round: each a different length.
QByteArray contentOfRound(int round)
{
    return QByteArray::number(round) + QByteArray(5'000 + round % 17 * 1'000, 'x');
}

bool isWhole(const QByteArray& content)
{
    return content == contentOfRound(content.left(content.indexOf('x')).toInt());
}

} // namespace

void TestConfigFileFaults::theEarlierFileStaysOrTheNewOneIsThere()
{
    QFETCH(Fault, fault);
    const QByteArray earlier = contentOfRound(1);
    const QByteArray later = contentOfRound(2);
    EveryFault faults(fault);
    while (faults.next()) {
        const QTemporaryDir folder;
        const QString file = folder.filePath(QStringLiteral("config.json"));
        Files::create(file, earlier);
        const int descriptors = ProcessTable::openDescriptors();
        std::optional<QString> failure;
        faults.during([&] { failure = saveConfigFile(file, later, newYear()); });

        QVERIFY(!failure || (faults.mayHaveFailed() && !failure->isEmpty()));
        QCOMPARE(Files::contentOf(file), failure ? earlier : later);
        const QString backup = file + QStringLiteral(".bak.20250101-093000");
        QVERIFY(!QFile::exists(backup) || Files::contentOf(backup) == earlier);
        QCOMPARE(Files::names(folder.path()).size(), QFile::exists(backup) ? 2 : 1);
        QVERIFY(QFile::exists(backup) || faults.mayHaveFailed());
        QCOMPARE(ProcessTable::openDescriptors(), descriptors);
        QCOMPARE(saveConfigFile(file, later, newYear().addSecs(1)), std::nullopt);
        QCOMPARE(Files::contentOf(file), later);
    }
    QVERIFY(faults.strikes() > 0);
}

void TestConfigFileFaults::aFileThatIsMadeIsWholeOrMissing()
{
    QFETCH(Fault, fault);
    EveryFault faults(fault);
    while (faults.next()) {
        const QTemporaryDir folder;
        const QString file = folder.filePath(QStringLiteral(".codex/config.json"));
        faults.during([&] { createConfigFile(file); });
        const QStringList names = Files::names(folder.filePath(QStringLiteral(".codex")));
        QVERIFY(names.isEmpty() ? faults.mayHaveFailed() : Files::contentOf(file) == QByteArray("{}\n"));
        QVERIFY(names.size() <= 1);
        createConfigFile(file);
        QCOMPARE(Files::contentOf(file), QByteArray("{}\n"));
    }
    QVERIFY(faults.strikes() > 0);
}

void TestConfigFileFaults::filesAndBackupsAreWholeAfterEveryKill()
{
    const SmallDisk disk(16'777'216);
    const QDir folder(disk.path());
    const QString file = folder.filePath(QStringLiteral("config.json"));
    RandomKills random;
    for (int kill = 0; kill < 200; ++kill) {
        QVERIFY(random.during([&](int round) {
            return !saveConfigFile(file, contentOfRound(round), newYear().addSecs(kill * 10'000 + round));
        }));
        for (const QString& name : Files::names(folder.path()))
            QVERIFY2(name.startsWith(QStringLiteral(".nelo-")) || isWhole(Files::contentOf(folder.filePath(name))),
                     qPrintable(name));

        QCOMPARE(saveConfigFile(file, contentOfRound(0), newYear()), std::nullopt); // as the next start does
        for (const QString& name : Files::names(folder.path())) {
            QVERIFY2(name.startsWith(QStringLiteral("config.json")), qPrintable(name));
            QFile::remove(folder.filePath(name));
        }
    }
}

int main(int argc, char** argv)
{
    SmallDisk::allowMounts();
    QCoreApplication application(argc, argv);
    TestConfigFileFaults test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestConfigFileFaults.moc"
