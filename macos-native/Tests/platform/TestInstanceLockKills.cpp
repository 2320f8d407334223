#include "platform/InstanceLock.h"

#include "platform/InstanceDoor.h"
#include "support/Warnings.h"
#include "support/faults/RandomKills.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using Role = InstanceLock::Role;

/// Programs that are killed while they lock and open.
class TestInstanceLockKills final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void theNextOneIsFirstAndHearsKnocksAfterEveryKill()
    {
        const QTemporaryDir temporary;
        const std::filesystem::path folder = temporary.path().toStdString();
        RandomKills random;
        for (int kill = 0; kill < 200; ++kill) {
            QVERIFY(random.during([&folder](int) {
                const InstanceLock lock(folder);
                const InstanceDoor door(folder);
                return lock.role() == Role::First && InstanceDoor::knock(folder);
            }));
            const InstanceLock next(folder);
            QCOMPARE(next.role(), Role::First);
            {
                const InstanceDoor door(folder);
                QVERIFY(InstanceDoor::knock(folder));
            }
            QCOMPARE(QDir(temporary.path()).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot),
                     QStringList{QStringLiteral("nelo.lock")});
        }
    }
};

QTEST_GUILESS_MAIN(TestInstanceLockKills)
#include "TestInstanceLockKills.moc"
