#include "agents/core/ConfigFile.h"

#include "support/Cases.h"
#include "support/Files.h"
#include "support/OrdinaryUser.h"
#include "support/SmallDisk.h"
#include "support/TestHome.h"
#include "support/Warnings.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QTest>

#include <optional>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

using Files::contentOf;
using Files::create;

namespace {

const QDateTime& newYear()
{
    static const QDateTime time(QDate(2025, 1, 1), QTime(9, 30));
    return time;
}

} // namespace

/// Reading, making and backing up a configuration file.
class TestConfigFile final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_home.emplace();
    }

    void cleanup() { m_home.reset(); }

    void aFileIsReadWhole_data()
    {
        const Cases<QByteArray> add("content");
        add("nothing", "");
        add("any bytes", QByteArray("\0\xff\r\n", 4));
        add("fifty megabytes", QByteArray(50'000'000, 'x'));
    }

    void aFileIsReadWhole()
    {
        QFETCH(QByteArray, content);
        create(path(), content);
        QVERIFY(readConfigFile(path()) == content);
        QVERIFY(QFile::link(path(), path(u"link"_s)));
        QVERIFY(readConfigFile(path(u"link"_s)) == content);
    }

    void whatCannotBeReadIsEmpty_data()
    {
        QTest::addColumn<QString>("what");
        for (const char* what : {"missing", "a missing folder", "a folder", "a pipe", "unreadable", "a link to itself",
                                 "a file that breaks off"})
            QTest::newRow(what) << QString::fromLatin1(what);
    }

    void whatCannotBeReadIsEmpty()
    {
        QFETCH(QString, what);
        QString file = path();
        if (what == u"a missing folder"_s) {
            file = path(u"no/config.json"_s);
        } else if (what == u"a folder"_s) {
            QVERIFY(QDir().mkdir(file));
        } else if (what == u"a pipe"_s) {
            QCOMPARE(mkfifo(QFile::encodeName(file).constData(), 0600), 0);
        } else if (what == u"unreadable"_s) {
            create(file, "secret");
            QVERIFY(QFile::setPermissions(file, {}));
        } else if (what == u"a link to itself"_s) {
            QVERIFY(QFile::link(file, file));
        } else if (what == u"a file that breaks off"_s) {
            QVERIFY(QFile::link(u"/proc/self/mem"_s, file)); // nothing is at the address zero
        }
        const OrdinaryUser user;
        QCOMPARE(readConfigFile(file), QByteArray());
    }

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

    void aFileThatIsThereIsLeftAlone_data()
    {
        const Cases<QByteArray> add("content");
        add("an empty one", "");
        add("one that is no JSON", "\xff");
    }

    void aFileThatIsThereIsLeftAlone()
    {
        QFETCH(QByteArray, content);
        create(path(), content);
        QVERIFY(QFile::setPermissions(path(), QFile::ReadOwner | QFile::ReadOther));
        createConfigFile(path());
        QCOMPARE(contentOf(path()), content);
        QCOMPARE(Files::mode(path()), 0404);
    }

    void aDanglingLinkGetsItsTarget()
    {
        QVERIFY(QFile::link(path(u"target"_s), path()));
        createConfigFile(path());
        QCOMPARE(contentOf(path(u"target"_s)), "{}\n"_ba);
        QVERIFY(QFileInfo(path()).isSymLink());
    }

    void whatCannotBeMadeIsIgnored_data()
    {
        QTest::addColumn<QString>("what");
        for (const char* what : {"a file in the folder's place", "a folder in its place", "a read-only folder"})
            QTest::newRow(what) << QString::fromLatin1(what);
    }

    void whatCannotBeMadeIsIgnored()
    {
        QFETCH(QString, what);
        const QString folder = path(u".kimi"_s);
        const QString file = folder + u"/config.json"_s;
        if (what == u"a file in the folder's place"_s) {
            create(folder, "not a folder");
        } else if (what == u"a folder in its place"_s) {
            QVERIFY(QDir().mkpath(file));
        } else {
            QVERIFY(QDir().mkdir(folder));
            QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner));
        }
        {
            const OrdinaryUser user;
            createConfigFile(file);
        }
        QVERIFY(!QFileInfo(file).isFile());
        QVERIFY(!QFileInfo(folder).isFile() || contentOf(folder) == "not a folder");
    }

    void aBackupHoldsTheSameBytesUnderTheTimesName()
    {
        const QByteArray content("\xff\r\n\0", 4);
        create(path(), content);
        backUpConfigFile(path(), newYear());
        QCOMPARE(contentOf(backup()), content);
        QCOMPARE(contentOf(path()), content);
        QCOMPARE(Files::names(path(QString())).size(), 2);
    }

    void aBackupIsNoMoreReadableThanTheFile_data()
    {
        const Cases<int> add("mode");
        add("readable by all", 0644);
        add("readable by the group", 0640);
        add("readable by its owner", 0600);
        add("not to be written", 0400);
    }

    void aBackupIsNoMoreReadableThanTheFile()
    {
        QFETCH(int, mode);
        create(path(), "{}");
        QCOMPARE(chmod(QFile::encodeName(path()).constData(), static_cast<mode_t>(mode)), 0);
        const mode_t maskBefore = umask(0);
        backUpConfigFile(path(), newYear());
        umask(maskBefore);
        QCOMPARE(contentOf(backup()), "{}"_ba);
        QCOMPARE(Files::mode(backup()), mode & 0600);
    }

    void aBackupOfTheSameSecondStays()
    {
        create(path(), "first");
        backUpConfigFile(path(), newYear());
        create(path(), "second");
        backUpConfigFile(path(), newYear().addMSecs(999));
        QCOMPARE(contentOf(backup()), "first"_ba);
        backUpConfigFile(path(), newYear().addSecs(1));
        QCOMPARE(contentOf(path() + u".bak.20250101-093001"_s), "second"_ba);
    }

    void aMissingFileHasNoBackup()
    {
        backUpConfigFile(path(), newYear());
        QVERIFY(QDir().mkdir(path()));
        backUpConfigFile(path(), newYear());
        QCOMPARE(Files::names(path(QString())), QStringList{u"config.json"_s});
    }

    void aLinkIsBackedUpByWhatItLeadsTo()
    {
        create(path(u"target"_s), "{}");
        QVERIFY(QFile::link(path(u"target"_s), path()));
        backUpConfigFile(path(), newYear());
        QVERIFY(!QFileInfo(backup()).isSymLink());
        QCOMPARE(contentOf(backup()), "{}"_ba);
    }

    void aFileThatMayNotBeReadHasNoBackup()
    {
        create(path(), "secret");
        QVERIFY(QFile::setPermissions(path(), {}));
        const OrdinaryUser user;
        backUpConfigFile(path(), newYear());
        QCOMPARE(Files::names(path(QString())), QStringList{u"config.json"_s});
    }

    void halfABackupIsNone()
    {
        const SmallDisk disk;
        const QString file = disk.path(u"config.json"_s);
        for (const int size : {5'000, 50'000}) {
            create(file, QByteArray(size, 'x'));
            disk.fill(4096);
            backUpConfigFile(file, newYear());
            disk.empty();
            QCOMPARE(Files::names(disk.path()), QStringList{u"config.json"_s});
            QCOMPARE(contentOf(file).size(), size);
        }
    }

    void aFolderThatTakesNoBackupIsIgnored()
    {
        const SmallDisk disk;
        const QString file = disk.path(u"config.json"_s);
        create(file, "{}");
        disk.makeReadOnly();
        backUpConfigFile(file, newYear());
        QCOMPARE(Files::names(disk.path()), QStringList{u"config.json"_s});
    }

    void savingBacksUpAndReplaces()
    {
        const QStringList old{u"config.json.bak.20240101-000000"_s, u"config.json.bak.20241231-235959"_s};
        for (const QString& name : old)
            create(path(name), "older");
        for (int day = 0; day < 30; ++day) {
            create(path(), "old");
            QCOMPARE(saveConfigFile(path(), "new", newYear().addDays(day)), std::nullopt);
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
        QCOMPARE(saveConfigFile(file, "new", newYear()), u"No space left on device"_s);
        QCOMPARE(contentOf(file), "old"_ba);
        QCOMPARE(contentOf(file + u".bak.20250101-093000"_s), "old"_ba);
    }

private:
    QString path(const QString& relative = u"config.json"_s) const { return m_home->path(relative); }
    QString backup() const { return path() + u".bak.20250101-093000"_s; }

    std::optional<TestHome> m_home;
};

int main(int argc, char** argv)
{
    SmallDisk::allowMounts();
    QCoreApplication application(argc, argv);
    TestConfigFile test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestConfigFile.moc"
