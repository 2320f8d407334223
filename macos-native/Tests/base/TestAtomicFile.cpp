#include "base/AtomicFile.h"

#include "support/Files.h"
#include "support/OrdinaryUser.h"
#include "support/SmallDisk.h"
#include "support/Warnings.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <csignal>
#include <thread>
#include <vector>

#include <grp.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// The number of a user and a group that are not ours.
constexpr uid_t someone = 12345;

/// Makes this process a member of `group` alone, beside its own, while it lives; where it may.
class MemberOf final
{
public:
    explicit MemberOf(gid_t group) : m_before(static_cast<std::size_t>(getgroups(0, nullptr)))
    {
        getgroups(static_cast<int>(m_before.size()), m_before.data());
        m_isMember = setgroups(1, &group) == 0;
    }
    MemberOf(const MemberOf&) = delete;
    MemberOf& operator=(const MemberOf&) = delete;
    ~MemberOf()
    {
        if (m_isMember && setgroups(m_before.size(), m_before.data()) != 0)
            qFatal("the groups cannot be restored");
    }

private:
    std::vector<gid_t> m_before;
    bool m_isMember = false;
};

struct stat statusOf(const QString& path)
{
    struct stat status
    {};
    stat(QFile::encodeName(path).constData(), &status);
    return status;
}

/// Keeps files from growing past a size while it lives; a write past it fails instead of ending the program.
class FileSizeLimit final
{
public:
    explicit FileSizeLimit(rlim_t bytes) : m_handlerBefore(signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        signal(SIGXFSZ, m_handlerBefore);
    }

private:
    rlimit m_before{};
    void (*m_handlerBefore)(int);
};

} // namespace

/// Replacing a file whole or not at all.
class TestAtomicFile final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_folder = std::make_unique<QTemporaryDir>();
    }

    void cleanup() { m_folder.reset(); }

    void writesANewFileWhole_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("a line") << QByteArray("hello\n");
        QTest::newRow("no bytes") << QByteArray("");
        QTest::newRow("bytes of any value") << QByteArray("a\0b\xff\r\n", 6);
        QTest::newRow("20 MB") << QByteArray(20'000'000, 'x');
    }

    void writesANewFileWhole()
    {
        QFETCH(QByteArray, bytes);
        QCOMPARE(writeFileAtomically(path(), bytes), std::nullopt);
        QCOMPARE(Files::contentOf(path()), bytes);
        QCOMPARE(Files::names(m_folder->path()), QStringList{QStringLiteral("file")});
    }

    void aNewFileGetsItsModeWhateverTheUmask_data()
    {
        QTest::addColumn<int>("umaskBits");
        QTest::addColumn<int>("newFileMode");
        QTest::newRow("private under the usual umask") << 022 << 0600;
        QTest::newRow("private under no umask") << 0 << 0600;
        QTest::newRow("readable for all under a strict umask") << 077 << 0644;
    }

    void aNewFileGetsItsModeWhateverTheUmask()
    {
        QFETCH(int, umaskBits);
        QFETCH(int, newFileMode);
        const mode_t before = umask(static_cast<mode_t>(umaskBits));
        const auto failure = writeFileAtomically(path(), "x", static_cast<mode_t>(newFileMode));
        umask(before);
        QCOMPARE(failure, std::nullopt);
        QCOMPARE(Files::mode(path()), newFileMode);

        QCOMPARE(writeFileAtomically(path(QStringLiteral("default")), "x"), std::nullopt);
        QCOMPARE(Files::mode(path(QStringLiteral("default"))), 0600);
    }

    void anExistingFileKeepsItsMode_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("afterwards");
        QTest::newRow("shared with a group") << 0660 << 0660;
        QTest::newRow("readable for all") << 0644 << 0644;
        QTest::newRow("executable") << 0755 << 0755;
        QTest::newRow("set-user-id is not kept") << 04755 << 0755;
    }

    void anExistingFileKeepsItsMode()
    {
        QFETCH(int, mode);
        QFETCH(int, afterwards);
        Files::create(path(), "old");
        chmod(QFile::encodeName(path()).constData(), static_cast<mode_t>(mode));
        QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        QCOMPARE(Files::contentOf(path()), QByteArray("new"));
        QCOMPARE(Files::mode(path()), afterwards);
    }

    void anExistingFileKeepsItsOwnerWhereTheSystemLetsUs()
    {
        Files::create(path(), "old");
        const bool mayGiveAway = chown(QFile::encodeName(path()).constData(), someone, someone) == 0;
        QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        QCOMPARE(Files::contentOf(path()), QByteArray("new"));
        QCOMPARE(statusOf(path()).st_uid, mayGiveAway ? someone : geteuid());
        QCOMPARE(statusOf(path()).st_gid, mayGiveAway ? someone : getegid());
    }

    void aFileOfAnotherOwnerInOurGroupStaysInIt()
    {
        Files::create(path(), "old");
        const MemberOf membership(someone);
        const bool isSomeones = chown(QFile::encodeName(path()).constData(), someone, someone) == 0;
        chmod(QFile::encodeName(path()).constData(), 0660);
        {
            const OrdinaryUser user;
            QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        }
        QCOMPARE(Files::contentOf(path()), QByteArray("new"));
        QCOMPARE(statusOf(path()).st_uid, geteuid());
        QCOMPARE(statusOf(path()).st_gid, isSomeones ? someone : getegid());
        QCOMPARE(Files::mode(path()), 0660);
    }

    void noGroupGainsRightsWhenTheFilesGroupCannotBeKept_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("afterwards");
        QTest::newRow("what the group alone might read is private") << 0640 << 0600;
        QTest::newRow("what the group alone might write is private") << 0660 << 0600;
        QTest::newRow("what all might read stays so") << 0664 << 0644;
        QTest::newRow("what all but the group might read is private") << 0604 << 0600;
        QTest::newRow("what is private stays so") << 0700 << 0700;
    }

    void noGroupGainsRightsWhenTheFilesGroupCannotBeKept()
    {
        QFETCH(int, mode);
        QFETCH(int, afterwards);
        Files::create(path(), "old");
        const bool isSomeones = chown(QFile::encodeName(path()).constData(), someone, someone) == 0;
        chmod(QFile::encodeName(path()).constData(), static_cast<mode_t>(mode));
        {
            const OrdinaryUser user;
            QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        }
        QCOMPARE(statusOf(path()).st_gid, getegid());
        QCOMPARE(Files::mode(path()), isSomeones ? afterwards : mode);
    }

    void aFileThatMayNotBeWrittenIsReplacedAllTheSame()
    {
        Files::create(path(), "old");
        chmod(QFile::encodeName(path()).constData(), 0400);
        QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        QCOMPARE(Files::contentOf(path()), QByteArray("new"));
        QCOMPARE(Files::mode(path()), 0400);
    }

    void aReaderOfTheOldFileKeepsIt()
    {
        Files::create(path(), "the old text");
        QFile reader(path());
        QVERIFY(reader.open(QFile::ReadOnly | QFile::Unbuffered));
        QCOMPARE(reader.read(4), QByteArray("the "));
        QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        QCOMPARE(reader.readAll(), QByteArray("old text"));
    }

    void nobodySeesHalfAFile()
    {
        const QByteArray one(300'000, '1');
        const QByteArray two(200'000, '2');
        Files::create(path(), one);
        std::atomic<bool> done = false;
        std::atomic<int> torn = 0;
        std::atomic<int> looks = 0;
        std::thread reader([&] {
            while (!done) {
                const QByteArray seen = Files::contentOf(path());
                torn += seen == one || seen == two ? 0 : 1;
                ++looks;
            }
        });
        for (int turn = 0; turn < 50 || looks < 50; ++turn)
            QCOMPARE(writeFileAtomically(path(), turn % 2 == 0 ? two : one), std::nullopt);
        done = true;
        reader.join();
        QCOMPARE(torn.load(), 0);
    }

    void aSymbolicLinkStaysOne_data()
    {
        QTest::addColumn<QString>("link");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("real");
        const QString near = QStringLiteral("elsewhere/real");
        const QString far = QStringLiteral("data/elsewhere/real");
        QTest::newRow("an absolute link") << QStringLiteral("link") << QStringLiteral("%1/elsewhere/real") << near;
        QTest::newRow("a relative link") << QStringLiteral("link") << QStringLiteral("elsewhere/real") << near;
        QTest::newRow("a link to a link") << QStringLiteral("link") << QStringLiteral("another") << near;
        QTest::newRow("a relative link that climbs out of a linked folder")
            << QStringLiteral("folder/link") << QStringLiteral("../elsewhere/real") << far;
        QTest::newRow("a link that climbs out of a linked folder by itself")
            << QStringLiteral("link") << QStringLiteral("folder/../elsewhere/real") << far;
    }

    void aSymbolicLinkStaysOne()
    {
        QFETCH(QString, link);
        QFETCH(QString, target);
        QFETCH(QString, real);
        const QStringList files{QStringLiteral("elsewhere/real"), QStringLiteral("data/elsewhere/real")};
        for (const QString& file : files) {
            Files::create(path(file), "old");
            chmod(QFile::encodeName(path(file)).constData(), 0640);
        }
        QVERIFY(QDir(m_folder->path()).mkpath(QStringLiteral("data/folder")));
        QVERIFY(QFile::link(QStringLiteral("data/folder"), path(QStringLiteral("folder"))));
        QVERIFY(QFile::link(QStringLiteral("elsewhere/real"), path(QStringLiteral("another"))));
        QVERIFY(QFile::link(target.replace(QStringLiteral("%1"), m_folder->path()), path(link)));

        QCOMPARE(writeFileAtomically(path(link), "new"), std::nullopt);
        QVERIFY(QFileInfo(path(link)).isSymLink());
        QVERIFY(QFileInfo(path(QStringLiteral("another"))).isSymLink());
        for (const QString& file : files) {
            QCOMPARE(Files::contentOf(path(file)), QByteArray(file == real ? "new" : "old"));
            QCOMPARE(Files::mode(path(file)), 0640);
            QCOMPARE(Files::names(QFileInfo(path(file)).path()), QStringList{QStringLiteral("real")});
        }
    }

    void aDanglingLinkGetsItsTarget()
    {
        QVERIFY(QFile::link(QStringLiteral("later"), path()));
        QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        QVERIFY(QFileInfo(path()).isSymLink());
        QCOMPARE(Files::contentOf(path(QStringLiteral("later"))), QByteArray("new"));
    }

    void aLinkIntoAMissingFolderMakesNothing()
    {
        QVERIFY(QFile::link(QStringLiteral("missing/../later"), path()));
        QCOMPARE(writeFileAtomically(path(), "new"), QStringLiteral("No such file or directory"));
        QCOMPARE(Files::names(m_folder->path()), QStringList{QStringLiteral("file")});
    }

    void linksInACircleFail()
    {
        QVERIFY(QFile::link(QStringLiteral("other"), path()));
        QVERIFY(QFile::link(QStringLiteral("file"), path(QStringLiteral("other"))));
        QCOMPARE(writeFileAtomically(path(), "new"), QStringLiteral("Too many levels of symbolic links"));
        QCOMPARE(Files::names(m_folder->path()), (QStringList{QStringLiteral("file"), QStringLiteral("other")}));
    }

    void aNameOfTheGreatestLengthIsWritten()
    {
        const QString longest(255, QLatin1Char('n'));
        QCOMPARE(writeFileAtomically(path(longest), "x"), std::nullopt);
        QCOMPARE(Files::contentOf(path(longest)), QByteArray("x"));
    }

    void aRelativePathIsWrittenInTheWorkingDirectory()
    {
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(m_folder->path()));
        const auto failure = writeFileAtomically(QStringLiteral("file"), "x");
        QVERIFY(QDir::setCurrent(before));
        QCOMPARE(failure, std::nullopt);
        QCOMPARE(Files::contentOf(path()), QByteArray("x"));
    }

    void aFolderInItsPlaceStays()
    {
        QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("file")));
        QCOMPARE(writeFileAtomically(path(), "x"), QStringLiteral("Is a directory"));
        QVERIFY(QFileInfo(path()).isDir());
        QCOMPARE(Files::names(m_folder->path()), QStringList{QStringLiteral("file")});
    }

    void aPipeInItsPlaceStays()
    {
        QCOMPARE(mkfifo(QFile::encodeName(path()).constData(), 0600), 0);
        QCOMPARE(writeFileAtomically(path(), "x"), QStringLiteral("Invalid argument"));
        QVERIFY(S_ISFIFO(statusOf(path()).st_mode));
    }

    void aMissingFolderFails()
    {
        QCOMPARE(writeFileAtomically(path(QStringLiteral("no/such/file")), "x"),
                 QStringLiteral("No such file or directory"));
        Files::create(path(), "a file");
        QCOMPARE(writeFileAtomically(path(QStringLiteral("file/below")), "x"), QStringLiteral("Not a directory"));
    }

    void aFullDiskLeavesTheEarlierFile_data()
    {
        QTest::addColumn<qint64>("freePages");
        QTest::addColumn<int>("size");
        QTest::newRow("no room at all") << 0LL << 100;
        QTest::newRow("room for the beginning of a small file") << 1LL << 10'000;
        QTest::newRow("room for the beginning of a large file") << 8LL << 100'000;
        QTest::newRow("room for all but the last byte") << 8LL << 8 * 4096 + 1;
    }

    void aFullDiskLeavesTheEarlierFile()
    {
        QFETCH(qint64, freePages);
        QFETCH(int, size);
        const SmallDisk disk;
        const QString file = disk.path(QStringLiteral("file"));
        Files::create(file, "the earlier file");
        disk.fill(freePages * 4096);
        const QStringList before = Files::names(disk.path());
        QCOMPARE(writeFileAtomically(file, QByteArray(size, 'n')), QStringLiteral("No space left on device"));
        QCOMPARE(Files::contentOf(file), QByteArray("the earlier file"));
        QCOMPARE(Files::names(disk.path()), before);

        disk.empty();
        QCOMPARE(writeFileAtomically(file, QByteArray(size, 'n')), std::nullopt);
        QCOMPARE(Files::contentOf(file).size(), size);
    }

    void aDiskThatIsTooFullForANewFileGetsNone()
    {
        const SmallDisk disk;
        disk.fill();
        QCOMPARE(writeFileAtomically(disk.path(QStringLiteral("file")), "x"),
                 QStringLiteral("No space left on device"));
        QCOMPARE(Files::names(disk.path()), QStringList{QStringLiteral("filling")});
    }

    void aFileSizeLimitLeavesTheEarlierFile()
    {
        Files::create(path(), "the earlier file");
        {
            const FileSizeLimit limit(1000);
            QCOMPARE(writeFileAtomically(path(), QByteArray(1001, 'n')), QStringLiteral("File too large"));
            QCOMPARE(writeFileAtomically(path(), QByteArray(1'000'000, 'n')), QStringLiteral("File too large"));
        }
        QCOMPARE(Files::contentOf(path()), QByteArray("the earlier file"));
        QCOMPARE(Files::names(m_folder->path()), QStringList{QStringLiteral("file")});
    }

    void aReadOnlyDiskLeavesTheEarlierFile()
    {
        const SmallDisk disk;
        const QString file = disk.path(QStringLiteral("file"));
        Files::create(file, "the earlier file");
        disk.makeReadOnly();
        QCOMPARE(writeFileAtomically(file, "new"), QStringLiteral("Read-only file system"));
        QCOMPARE(Files::contentOf(file), QByteArray("the earlier file"));
        QCOMPARE(Files::names(disk.path()), QStringList{QStringLiteral("file")});
    }

    void whatAKilledWriterLeftIsRemoved()
    {
        Files::create(path(QStringLiteral(".nelo-writing-AbcdefghijkZ")), "half a fi");
        Files::create(path(QStringLiteral("elsewhere/.nelo-writing-AbcdefghijkZ")), "half a fi");
        Files::create(path(QStringLiteral("elsewhere/target")), "old");
        QVERIFY(QFile::link(QStringLiteral("elsewhere/target"), path()));
        QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        QCOMPARE(Files::names(path(QStringLiteral("elsewhere"))), QStringList{QStringLiteral("target")});
        QCOMPARE(writeFileAtomically(path(QStringLiteral("other")), "new"), std::nullopt);
        QCOMPARE(Files::names(m_folder->path()),
                 (QStringList{QStringLiteral("elsewhere"), QStringLiteral("file"), QStringLiteral("other")}));
    }

    void whatALivingWriterWritesStays()
    {
        QFile living(path(QStringLiteral(".nelo-writing-AbcdefghijkZ")));
        QVERIFY(living.open(QFile::WriteOnly));
        QCOMPARE(flock(living.handle(), LOCK_EX), 0);
        QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        QVERIFY(living.exists());
        living.close();
        QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        QVERIFY(!living.exists());
    }

    void whatIsNotOursStays_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("a shorter name") << QStringLiteral(".nelo-writing-Abcdefghijk");
        QTest::newRow("a longer name") << QStringLiteral(".nelo-writing-AbcdefghijkLm");
        QTest::newRow("a name with a digit") << QStringLiteral(".nelo-writing-Abcdefghijk1");
        QTest::newRow("a name that goes on before") << QStringLiteral("my.nelo-writing-AbcdefghijkL");
        QTest::newRow("a folder") << QStringLiteral(".nelo-writing-AbcdefghijkL/file");
    }

    void whatIsNotOursStays()
    {
        QFETCH(QString, name);
        Files::create(path(name), "mine");
        QVERIFY(QFile::link(path(name), path(QStringLiteral(".nelo-writing-LinkLinkLink"))));
        QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        QCOMPARE(Files::contentOf(path(name)), QByteArray("mine"));
        QCOMPARE(Files::contentOf(path(QStringLiteral(".nelo-writing-LinkLinkLink"))), QByteArray("mine"));
    }

    void aNewFileTakesNobodysPlace_data()
    {
        QTest::addColumn<QString>("inPlace");
        for (const char* what : {"a file", "a dangling link", "a folder"})
            QTest::newRow(what) << QString::fromLatin1(what);
    }

    void aNewFileTakesNobodysPlace()
    {
        QFETCH(QString, inPlace);
        if (inPlace == QStringLiteral("a file"))
            Files::create(path(), "old");
        else if (inPlace == QStringLiteral("a folder"))
            QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("file")));
        else
            QVERIFY(QFile::link(QStringLiteral("nowhere"), path()));
        QCOMPARE(writeNewFile(path(), "new", 0600), QStringLiteral("File exists"));
        QVERIFY(Files::contentOf(path()) != QByteArray("new"));
        QCOMPARE(Files::names(m_folder->path()), QStringList{QStringLiteral("file")});

        const mode_t before = umask(077);
        const auto failure = writeNewFile(path(QStringLiteral("free")), "new", 0640);
        umask(before);
        QCOMPARE(failure, std::nullopt);
        QCOMPARE(Files::contentOf(path(QStringLiteral("free"))), QByteArray("new"));
        QCOMPARE(Files::mode(path(QStringLiteral("free"))), 0640);
    }

private:
    QString path(const QString& relative = QStringLiteral("file")) const { return m_folder->filePath(relative); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

int main(int argc, char** argv)
{
    SmallDisk::allowMounts();
    QCoreApplication application(argc, argv);
    TestAtomicFile test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestAtomicFile.moc"
