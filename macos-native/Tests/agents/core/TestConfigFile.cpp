#include "agents/core/ConfigFile.h"

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
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("any bytes") << QByteArray("\0\xff\r\n", 4);
        QTest::newRow("fifty megabytes") << QByteArray(50'000'000, 'x');
    }

    void aFileIsReadWhole()
    {
        QFETCH(QByteArray, content);
        create(path(), content);
        QVERIFY(readConfigFile(path()) == content);
        QVERIFY(QFile::link(path(), path(QStringLiteral("link"))));
        QVERIFY(readConfigFile(path(QStringLiteral("link"))) == content);
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
        if (what == QStringLiteral("a missing folder")) {
            file = path(QStringLiteral("no/config.json"));
        } else if (what == QStringLiteral("a folder")) {
            QVERIFY(QDir().mkdir(file));
        } else if (what == QStringLiteral("a pipe")) {
            QCOMPARE(mkfifo(QFile::encodeName(file).constData(), 0600), 0);
        } else if (what == QStringLiteral("unreadable")) {
            create(file, "secret");
            QVERIFY(QFile::setPermissions(file, {}));
        } else if (what == QStringLiteral("a link to itself")) {
            QVERIFY(QFile::link(file, file));
        } else if (what == QStringLiteral("a file that breaks off")) {
            QVERIFY(QFile::link(QStringLiteral("/proc/self/mem"), file)); // nothing is at the address zero
        }
        const OrdinaryUser user;
        QCOMPARE(readConfigFile(file), QByteArray());
    }

    void aMissingFileIsMadeForItsOwnerOnly()
    {
        const QString file = path(QStringLiteral("new home/.codex/config.json"));
        const mode_t maskBefore = umask(0);
        createConfigFile(file);
        umask(maskBefore);
        QCOMPARE(contentOf(file), QByteArray("{}\n"));
        QCOMPARE(Files::mode(file), 0600);
        QCOMPARE(Files::mode(path(QStringLiteral("new home/.codex"))), 0700);
        QCOMPARE(Files::names(path(QStringLiteral("new home/.codex"))), QStringList{QStringLiteral("config.json")});
    }

    void aFileThatIsThereIsLeftAlone_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("an empty one") << QByteArray();
        QTest::newRow("one that is no JSON") << QByteArray("\xff");
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
        QVERIFY(QFile::link(path(QStringLiteral("target")), path()));
        createConfigFile(path());
        QCOMPARE(contentOf(path(QStringLiteral("target"))), QByteArray("{}\n"));
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
        const QString folder = path(QStringLiteral(".kimi"));
        const QString file = folder + QStringLiteral("/config.json");
        if (what == QStringLiteral("a file in the folder's place")) {
            create(folder, "not a folder");
        } else if (what == QStringLiteral("a folder in its place")) {
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
        QTest::addColumn<int>("mode");
        QTest::newRow("readable by all") << 0644;
        QTest::newRow("readable by the group") << 0640;
        QTest::newRow("readable by its owner") << 0600;
        QTest::newRow("not to be written") << 0400;
    }

    void aBackupIsNoMoreReadableThanTheFile()
    {
        QFETCH(int, mode);
        create(path(), "{}");
        QCOMPARE(chmod(QFile::encodeName(path()).constData(), static_cast<mode_t>(mode)), 0);
        const mode_t maskBefore = umask(0);
        backUpConfigFile(path(), newYear());
        umask(maskBefore);
        QCOMPARE(contentOf(backup()), QByteArray("{}"));
        QCOMPARE(Files::mode(backup()), mode & 0600);
    }

    void aBackupOfTheSameSecondStays()
    {
        create(path(), "first");
        backUpConfigFile(path(), newYear());
        create(path(), "second");
        backUpConfigFile(path(), newYear().addMSecs(999));
        QCOMPARE(contentOf(backup()), QByteArray("first"));
        backUpConfigFile(path(), newYear().addSecs(1));
        QCOMPARE(contentOf(path() + QStringLiteral(".bak.20250101-093001")), QByteArray("second"));
    }

    void aMissingFileHasNoBackup()
    {
        backUpConfigFile(path(), newYear());
        QVERIFY(QDir().mkdir(path()));
        backUpConfigFile(path(), newYear());
        QCOMPARE(Files::names(path(QString())), QStringList{QStringLiteral("config.json")});
    }

    void aLinkIsBackedUpByWhatItLeadsTo()
    {
        create(path(QStringLiteral("target")), "{}");
        QVERIFY(QFile::link(path(QStringLiteral("target")), path()));
        backUpConfigFile(path(), newYear());
        QVERIFY(!QFileInfo(backup()).isSymLink());
        QCOMPARE(contentOf(backup()), QByteArray("{}"));
    }

    void aFileThatMayNotBeReadIsBackedUpAllTheSame()
    {
        create(path(QStringLiteral("target")), "secret");
        QVERIFY(QFile::setPermissions(path(QStringLiteral("target")), {}));
        QVERIFY(QFile::link(path(QStringLiteral("target")), path()));
        {
            const OrdinaryUser user;
            backUpConfigFile(path(), newYear());
        }
        QCOMPARE(Files::mode(backup()), 0);
        QVERIFY(QFile::setPermissions(backup(), QFile::ReadOwner));
        QCOMPARE(contentOf(backup()), QByteArray("secret"));
    }

    void halfABackupIsNone()
    {
        const SmallDisk disk;
        const QString file = disk.path(QStringLiteral("config.json"));
        for (const int size : {5'000, 50'000}) {
            create(file, QByteArray(size, 'x'));
            disk.fill(4096);
            backUpConfigFile(file, newYear());
            disk.empty();
            QCOMPARE(Files::names(disk.path()), QStringList{QStringLiteral("config.json")});
            QCOMPARE(contentOf(file).size(), size);
        }
    }

    void aFolderThatTakesNoBackupIsIgnored()
    {
        const SmallDisk disk;
        const QString file = disk.path(QStringLiteral("config.json"));
        create(file, "{}");
        disk.makeReadOnly();
        backUpConfigFile(file, newYear());
        QCOMPARE(Files::names(disk.path()), QStringList{QStringLiteral("config.json")});
    }

    void savingBacksUpAndReplaces_data()
    {
        QTest::addColumn<bool>("isReadable");
        QTest::newRow("a readable file") << true;
        QTest::newRow("an unreadable file") << false;
    }

    void savingBacksUpAndReplaces()
    {
        QFETCH(bool, isReadable);
        create(path(), "old");
        QVERIFY(QFile::setPermissions(path(), isReadable ? QFile::ReadOwner : QFile::Permissions()));
        {
            const OrdinaryUser user;
            QCOMPARE(saveConfigFile(path(), "new", newYear()), std::nullopt);
        }
        for (const QString& file : {path(), backup()})
            QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
        QCOMPARE(contentOf(path()), QByteArray("new"));
        QCOMPARE(contentOf(backup()), QByteArray("old"));
    }

    void afterAFailedSaveNoBackupIsTheFileItself()
    {
        const SmallDisk disk;
        const QString file = disk.path(QStringLiteral("config.json"));
        create(disk.path(QStringLiteral("target")), "secret");
        QVERIFY(QFile::setPermissions(disk.path(QStringLiteral("target")), {}));
        QVERIFY(QFile::link(QStringLiteral("target"), file));
        disk.fill();
        const QStringList before = Files::names(disk.path());
        {
            const OrdinaryUser user;
            QCOMPARE(saveConfigFile(file, "new", newYear()), QStringLiteral("No space left on device"));
        }
        QCOMPARE(Files::names(disk.path()), before);
        QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
        QCOMPARE(contentOf(file), QByteArray("secret"));
    }

    void afterAFailedSaveACopyStays()
    {
        const SmallDisk disk;
        const QString file = disk.path(QStringLiteral("config.json"));
        create(file, "old");
        disk.fill(4096); // for the backup, and no more
        QCOMPARE(saveConfigFile(file, "new", newYear()), QStringLiteral("No space left on device"));
        QCOMPARE(contentOf(file), QByteArray("old"));
        QCOMPARE(contentOf(file + QStringLiteral(".bak.20250101-093000")), QByteArray("old"));
    }

private:
    QString path(const QString& relative = QStringLiteral("config.json")) const { return m_home->path(relative); }
    QString backup() const { return path() + QStringLiteral(".bak.20250101-093000"); }

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
