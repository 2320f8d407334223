#include "agents/core/ConfigFile.h"

#include "agents/core/SavedConfigs.h"
#include "support/Files.h"
#include "support/ProcessTable.h"
#include "support/Warnings.h"
#include "support/faults/EveryFault.h"

#include <QTemporaryDir>
#include <QTest>

/// Saving a configuration while one call after the other fails.
class TestConfigFileFaults final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }
    void theEarlierFileStaysOrTheNewOneIsThere_data() { addRowsOfFileFaults(); }

    void theEarlierFileStaysOrTheNewOneIsThere()
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

    void aFileThatIsMadeIsWholeOrMissing_data() { addRowsOfFileFaults(); }

    void aFileThatIsMadeIsWholeOrMissing()
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
};

QTEST_GUILESS_MAIN(TestConfigFileFaults)
#include "TestConfigFileFaults.moc"
