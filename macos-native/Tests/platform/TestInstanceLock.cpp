#include "platform/InstanceLock.h"

#include "platform/InstanceDoor.h"
#include "platform/RuntimeFolder.h"
#include "support/ProcessTable.h"
#include "support/Warnings.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <optional>
#include <thread>

#include <sys/stat.h>
#include <unistd.h>

using namespace std::chrono_literals;
using Role = InstanceLock::Role;

namespace {

/// Waits until a further file is open than the `openBefore`: a later one has opened the lock, and knocks from then on.
bool awaitLaterOne(int openBefore)
{
    return QTest::qWaitFor([openBefore] { return ProcessTable::openDescriptors() > openBefore; });
}

} // namespace

/// One program of many: the lock, the door to knock at, and the folder of both.
class TestInstanceLock final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_folder.emplace();
        m_runtimeFolderBefore = qgetenv("XDG_RUNTIME_DIR");
    }

    void cleanup()
    {
        qputenv("XDG_RUNTIME_DIR", m_runtimeFolderBefore);
        qunsetenv("TMPDIR");
        m_folder.reset();
    }

    void aLaterOneKnocksAtTheFirst()
    {
        const InstanceLock first(folder());
        QCOMPARE(first.role(), Role::First);
        const InstanceDoor door(folder());
        QSignalSpy knocks(&door, &InstanceDoor::knocked);
        QCOMPARE(InstanceLock(folder()).role(), Role::Later);
        QTRY_COMPARE(knocks.size(), 1);
        QCOMPARE(InstanceLock(folder()).role(), Role::Later);
        QTRY_COMPARE(knocks.size(), 2);
    }

    void manyKnocksAtOnceAreOne()
    {
        const InstanceDoor door(folder());
        QSignalSpy knocks(&door, &InstanceDoor::knocked);
        for (int visitor = 0; visitor < 20; ++visitor)
            QVERIFY(InstanceDoor::knock(folder()));
        QTRY_COMPARE(knocks.size(), 1);
    }

    void theNextOneIsFirstOnceTheFirstHasGone()
    {
        std::optional<InstanceLock> first(folder());
        QCOMPARE(first->role(), Role::First);
        first.reset();
        QCOMPARE(InstanceLock(folder()).role(), Role::First);
    }

    void aDoorThatAKilledProgramLeftIsReplaced()
    {
        QFile left(m_folder->filePath(QStringLiteral("nelo.socket")));
        QVERIFY(left.open(QFile::WriteOnly));
        QVERIFY(!InstanceDoor::knock(folder()));
        const InstanceDoor door(folder());
        QVERIFY(InstanceDoor::knock(folder()));
    }

    void aLaterOneWaitsForADoorThatOpensLate()
    {
        const InstanceLock first(folder());
        std::optional<Role> role;
        const int openBefore = ProcessTable::openDescriptors();
        std::thread later([this, &role] { role = InstanceLock(folder()).role(); });
        const bool isKnocking = awaitLaterOne(openBefore);
        const InstanceDoor door(folder());
        QSignalSpy knocks(&door, &InstanceDoor::knocked);
        later.join();
        QVERIFY(isKnocking);
        QCOMPARE(role, Role::Later);
        QTRY_COMPARE(knocks.size(), 1);
    }

    void aLaterOneBecomesFirstWhenTheFirstEndsMeanwhile()
    {
        std::optional<InstanceLock> first(folder());
        std::optional<Role> role;
        const int openBefore = ProcessTable::openDescriptors();
        std::thread later([this, &role] { role = InstanceLock(folder()).role(); });
        const bool isKnocking = awaitLaterOne(openBefore);
        first.reset();
        later.join();
        QVERIFY(isKnocking);
        QCOMPARE(role, Role::First);
    }

    void aFirstOneWithoutADoorIsLeftAlone()
    {
        const InstanceLock first(folder());
        QCOMPARE(InstanceLock(folder(), 30ms).role(), Role::Later);
    }

    void whereNothingCanBeLockedEveryoneIsFirst()
    {
        const std::filesystem::path nowhere = folder() / "missing";
        const InstanceLock one(nowhere);
        const InstanceLock other(nowhere);
        QCOMPARE(one.role(), Role::First);
        QCOMPARE(other.role(), Role::First);
        const InstanceDoor door(nowhere);
        QVERIFY(!InstanceDoor::knock(nowhere));
        const InstanceDoor tooDeep(folder() / std::string(200, 'x'));
        QVERIFY(!InstanceDoor::knock(folder() / std::string(200, 'x')));
    }

    void nobodyElseCanReachLockOrDoor()
    {
        const InstanceLock first(folder());
        const QFileInfo lock(m_folder->filePath(QStringLiteral("nelo.lock")));
        QCOMPARE(lock.permissions() & (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther),
                 QFile::Permissions());
        {
            const InstanceDoor door(folder());
            QVERIFY(QFileInfo::exists(m_folder->filePath(QStringLiteral("nelo.socket"))));
        }
        QVERIFY(!QFileInfo::exists(m_folder->filePath(QStringLiteral("nelo.socket"))));
    }

    void theRuntimeFolderIsTheSessions()
    {
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_folder->path()));
        QCOMPARE(runtimeFolder(), std::optional(folder()));
    }

    void anUnusableRuntimeFolderIsReplaced_data()
    {
        QTest::addColumn<QByteArray>("given");
        QTest::newRow("none") << QByteArray();
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("relative") << QByteArray(".");
        QTest::newRow("missing") << QByteArray("/no/such/folder");
        QTest::newRow("a file") << QByteArray("/etc/passwd");
        QTest::newRow("open to all") << QByteArray("/tmp");
    }

    void anUnusableRuntimeFolderIsReplaced()
    {
        QFETCH(QByteArray, given);
        if (given.isNull())
            qunsetenv("XDG_RUNTIME_DIR");
        else
            qputenv("XDG_RUNTIME_DIR", given);
        qputenv("TMPDIR", QFile::encodeName(m_folder->path()));
        const std::optional<std::filesystem::path> found = runtimeFolder();
        QVERIFY(found);
        QCOMPARE(found->parent_path(), folder());
        QCOMPARE(std::filesystem::status(*found).permissions(), std::filesystem::perms::owner_all);
        QCOMPARE(runtimeFolder(), found); // which is there by now
    }

    void aFolderOfAnotherUserIsReplaced()
    {
        QByteArray others("/root"); // closed to everyone but its owner, as ours would be
        if (geteuid() == 0) {
            others = QFile::encodeName(m_folder->filePath(QStringLiteral("others")));
            QCOMPARE(mkdir(others.constData(), S_IRWXU), 0);
            QCOMPARE(chown(others.constData(), 1, 1), 0);
        }
        qputenv("XDG_RUNTIME_DIR", others);
        qputenv("TMPDIR", QFile::encodeName(m_folder->path()));
        const std::optional<std::filesystem::path> found = runtimeFolder();
        QVERIFY(found);
        QCOMPARE(found->parent_path(), folder());
    }

    void aFolderOfOursThatOthersCanWriteToIsRefused()
    {
        qunsetenv("XDG_RUNTIME_DIR");
        qputenv("TMPDIR", QFile::encodeName(m_folder->path()));
        const std::optional<std::filesystem::path> ours = runtimeFolder();
        QVERIFY(ours);
        std::filesystem::permissions(*ours, std::filesystem::perms::all);
        QCOMPARE(runtimeFolder(), std::nullopt);
    }

private:
    std::filesystem::path folder() const { return m_folder->path().toStdString(); }

    std::optional<QTemporaryDir> m_folder;
    QByteArray m_runtimeFolderBefore;
};

QTEST_GUILESS_MAIN(TestInstanceLock)
#include "TestInstanceLock.moc"
