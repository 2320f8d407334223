#include "agents/core/ConfigFile.h"

#include "support/Files.h"
#include "support/OrdinaryUser.h"
#include "support/SmallDisk.h"
#include "support/TestCase.h"
#include "support/TestHome.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <optional>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

using Files::contentOf;
using Files::create;

/// Reading, making and backing up a configuration file.
class TestConfigFile final : public TestCase
{
    Q_OBJECT

public:
    static void initMain() { SmallDisk::allowMounts(); }

private slots:
    void aMissingFileIsMadeForItsOwnerOnly()
    {
        const QString file = path(u"new home/.codex/config.json"_s);
        const mode_t maskBefore = umask(0);
        createConfigFile(file);
        umask(maskBefore);
        QCOMPARE(contentOf(file), "{}\n"_ba);
        QCOMPARE(Files::mode(file), 0600);
        QCOMPARE(Files::mode(path(u"new home/.codex"_s)), 0700);
        QCOMPARE(Files::names(path(u"new home/.codex"_s)), QStringList{u"config.json"_s});
    }

    void aFileThatIsThereIsLeftAlone()
    {
        for (const char* content : {"", "\xff"}) {
            create(path(), content);
            QVERIFY(QFile::setPermissions(path(), QFile::ReadOwner | QFile::ReadOther));
            createConfigFile(path());
            QCOMPARE(readConfigFile(path()), content);
            QCOMPARE(Files::mode(path()), 0404);
            QVERIFY(QFile::remove(path()));
        }
        QCOMPARE(readConfigFile(path()), QByteArray());
    }

    void aDanglingLinkGetsItsTarget()
    {
        QVERIFY(QFile::link(path(u"target"_s), path()));
        createConfigFile(path());
        QCOMPARE(contentOf(path(u"target"_s)), "{}\n"_ba);
        QVERIFY(QFileInfo(path()).isSymLink());
    }

    void whatCannotBeMadeIsIgnored()
    {
        create(path(u".file"_s), "not a folder");
        QVERIFY(QDir().mkpath(path(u".folder/config.json"_s)));
        QVERIFY(QDir().mkdir(path(u".read-only"_s)));
        QVERIFY(QFile::setPermissions(path(u".read-only"_s), QFile::ReadOwner | QFile::ExeOwner));
        {
            const OrdinaryUser user;
            for (const QString& folder : {u".file"_s, u".folder"_s, u".read-only"_s})
                createConfigFile(path(folder + u"/config.json"_s));
        }
        QCOMPARE(contentOf(path(u".file"_s)), "not a folder"_ba);
        QVERIFY(QFileInfo(path(u".folder/config.json"_s)).isDir());
        QCOMPARE(Files::names(path(u".read-only"_s)), QStringList());
    }

    void aBackupHoldsTheSameBytesUnderTheTimesName()
    {
        const QByteArray content("\xff\r\n\0", 4);
        create(path(u"target"_s), content);
        QVERIFY(QFile::link(path(u"target"_s), path()));
        backUpConfigFile(path(), m_newYear);
        QVERIFY(!QFileInfo(backup()).isSymLink());
        QCOMPARE(contentOf(backup()), content);
        QCOMPARE(contentOf(path()), content);
        QCOMPARE(Files::names(path(QString())).size(), 3);
    }

    void aBackupIsNoMoreReadableThanTheFile()
    {
        for (const mode_t mode : {0644U, 0640U, 0600U, 0400U}) {
            create(path(), "{}");
            QCOMPARE(chmod(QFile::encodeName(path()).constData(), mode), 0);
            const mode_t maskBefore = umask(0);
            backUpConfigFile(path(), m_newYear);
            umask(maskBefore);
            QCOMPARE(contentOf(backup()), "{}"_ba);
            QCOMPARE(Files::mode(backup()), static_cast<int>(mode & 0600U));
            QVERIFY(QFile::remove(backup()) && QFile::remove(path()));
        }
    }

    void aBackupOfTheSameSecondStays()
    {
        create(path(), "first");
        backUpConfigFile(path(), m_newYear);
        create(path(), "second");
        backUpConfigFile(path(), m_newYear.addMSecs(999));
        QCOMPARE(contentOf(backup()), "first"_ba);
        backUpConfigFile(path(), m_newYear.addSecs(1));
        QCOMPARE(contentOf(path() + u".bak.20250101-093001"_s), "second"_ba);
    }

    void aFileThatCannotBeReadHasNoBackup()
    {
        backUpConfigFile(path(), m_newYear);
        create(path(), "secret");
        QVERIFY(QFile::setPermissions(path(), {}));
        {
            const OrdinaryUser user;
            backUpConfigFile(path(), m_newYear);
        }
        QCOMPARE(Files::names(path(QString())), QStringList{u"config.json"_s});
    }

    void halfABackupIsNone()
    {
        const SmallDisk disk;
        const QString file = disk.path(u"config.json"_s);
        for (const int size : {5'000, 50'000}) {
            create(file, QByteArray(size, 'x'));
            disk.fill(4096);
            backUpConfigFile(file, m_newYear);
            disk.empty();
            QCOMPARE(Files::names(disk.path()), QStringList{u"config.json"_s});
            QCOMPARE(contentOf(file).size(), size);
        }
    }

    void savingBacksUpAndReplaces()
    {
        const QStringList old{u"config.json.bak.20240101-000000"_s, u"config.json.bak.20241231-235959"_s};
        for (const QString& name : old)
            create(path(name), "older");
        for (int day = 0; day < 30; ++day) {
            create(path(), "old");
            QCOMPARE(saveConfigFile(path(), "new", m_newYear.addDays(day)), std::nullopt);
            QCOMPARE(contentOf(path()), "new"_ba);
        }
        QCOMPARE(contentOf(backup()), "old"_ba);
        QCOMPARE(Files::names(path(QString())).size(), 1 + 2 + 30); // no backup is ever taken away
    }

    void afterAFailedSaveACopyStays()
    {
        const SmallDisk disk;
        const QString file = disk.path(u"config.json"_s);
        create(file, "old");
        disk.fill(4096); // for the backup, and no more
        QCOMPARE(saveConfigFile(file, "new", m_newYear), u"No space left on device"_s);
        QCOMPARE(contentOf(file), "old"_ba);
        QCOMPARE(contentOf(file + u".bak.20250101-093000"_s), "old"_ba);
    }

private:
    QString path(const QString& relative = u"config.json"_s) const { return m_home->path(relative); }
    QString backup() const { return path() + u".bak.20250101-093000"_s; }

    const QDateTime m_newYear{QDate(2025, 1, 1), QTime(9, 30)};
    Fresh<TestHome> m_home{this};
};

QTEST_GUILESS_MAIN(TestConfigFile)
#include "TestConfigFile.moc"
