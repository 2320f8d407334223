#include "base/AtomicFile.h"

#include "support/Files.h"
#include "support/ProcessTable.h"
#include "support/Warnings.h"
#include "support/faults/EveryFault.h"

#include <QTemporaryDir>
#include <QTest>

namespace {

const QByteArray earlier(3'000, 'e');
const QByteArray later(20'000, 'n');

} // namespace

/// Replacing a file while one call after the other fails.
class TestAtomicFileFaults final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void theEarlierFileStaysOrTheNewOneIsThere_data() { addRowsOfFileFaults(); }

    void theEarlierFileStaysOrTheNewOneIsThere()
    {
        QFETCH(Fault, fault);
        EveryFault faults(fault);
        while (faults.next()) {
            const QTemporaryDir folder;
            const QString file = folder.filePath(QStringLiteral("file"));
            Files::create(file, earlier);
            const int descriptors = ProcessTable::openDescriptors();
            std::optional<QString> failure;
            faults.during([&] { failure = writeFileAtomically(file, later); });

            QCOMPARE(Files::contentOf(file), failure ? earlier : later);
            QVERIFY(!failure || faults.mayHaveFailed());
            QVERIFY(!failure || !failure->isEmpty());
            QCOMPARE(Files::names(folder.path()), QStringList{QStringLiteral("file")});
            QCOMPARE(ProcessTable::openDescriptors(), descriptors);
            QCOMPARE(writeFileAtomically(file, later), std::nullopt);
            QCOMPARE(Files::contentOf(file), later);
        }
        QVERIFY(faults.strikes() > 0);
    }

    void aNewFileIsThereOrNothing_data() { addRowsOfFileFaults(); }

    void aNewFileIsThereOrNothing()
    {
        QFETCH(Fault, fault);
        EveryFault faults(fault);
        while (faults.next()) {
            const QTemporaryDir folder;
            const QString file = folder.filePath(QStringLiteral("file"));
            std::optional<QString> failure;
            faults.during([&] { failure = writeFileAtomically(file, later); });

            QVERIFY(!failure || faults.mayHaveFailed());
            QCOMPARE(Files::names(folder.path()), failure ? QStringList() : QStringList{QStringLiteral("file")});
            QCOMPARE(writeFileAtomically(file, later), std::nullopt);
            QCOMPARE(Files::contentOf(file), later);
            QCOMPARE(Files::mode(file), 0600);
        }
        QVERIFY(faults.strikes() > 0);
    }
};

QTEST_GUILESS_MAIN(TestAtomicFileFaults)
#include "TestAtomicFileFaults.moc"
