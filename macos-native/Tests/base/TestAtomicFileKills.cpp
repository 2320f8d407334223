#include "base/AtomicFile.h"

#include "support/Files.h"
#include "support/Warnings.h"
#include "support/faults/EveryFault.h"
#include "support/faults/FaultyCalls.h"

#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <cstdlib>

namespace {

const QByteArray earlier(3'000, 'e');
const QByteArray later(20'000, 'n');

} // namespace

/// Replacing a file in programs that are killed at one call after the other.
class TestAtomicFileKills final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void theNextWriterRemovesWhatIsLeft_data()
    {
        QTest::addColumn<QByteArray>("kind");
        QTest::addColumn<bool>("hasUnnamedFiles");
        QTest::addColumn<int>("leftovers");
        QTest::newRow("killed while a file without a name is written") << QByteArray("write") << true << 0;
        QTest::newRow("killed while a file with a name is written") << QByteArray("write") << false << 1;
        QTest::newRow("killed before a file with a name is on the disk") << QByteArray("sync") << false << 1;
        QTest::newRow("killed before a file is given its name") << QByteArray("link") << true << 0;
        QTest::newRow("killed after a file was given its name") << QByteArray("rename") << true << 1;
        QTest::newRow("killed before a file with a name takes another's place") << QByteArray("rename") << false << 1;
    }

    void theNextWriterRemovesWhatIsLeft()
    {
        QFETCH(QByteArray, kind);
        QFETCH(bool, hasUnnamedFiles);
        QFETCH(int, leftovers);
        EveryFault kills({kind, NELO_FAULT_KILL});
        while (kills.next()) {
            const QTemporaryDir folder;
            const QString file = folder.filePath(QStringLiteral("file"));
            Files::create(file, earlier);
            kills.during([&] {
                if (!hasUnnamedFiles)
                    nelo_faults_arm_from("unnamed", 1, EOPNOTSUPP);
                if (writeFileAtomically(file, later))
                    std::abort();
            });
            QCOMPARE(Files::contentOf(file), kills.hasStruck() ? earlier : later);
            QCOMPARE(Files::names(folder.path()).filter(QStringLiteral(".nelo-writing-")).size(),
                     kills.hasStruck() ? leftovers : 0);

            QCOMPARE(writeFileAtomically(file, later), std::nullopt);
            QCOMPARE(Files::names(folder.path()), QStringList{QStringLiteral("file")});
            QCOMPARE(Files::contentOf(file), later);
        }
        QVERIFY(kills.strikes() > 0);
    }
};

QTEST_GUILESS_MAIN(TestAtomicFileKills)
#include "TestAtomicFileKills.moc"
