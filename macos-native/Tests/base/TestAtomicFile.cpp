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
#include <thread>
#include <vector>

#include <grp.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

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
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("a line") << u"file"_s << QByteArray("hello\n");
        QTest::newRow("no bytes") << u"file"_s << QByteArray("");
        QTest::newRow("bytes of any value") << u"file"_s << QByteArray("a\0b\xff\r\n", 6);
        QTest::newRow("20 MB") << u"file"_s << QByteArray(20'000'000, 'x');
        QTest::newRow("a name of the greatest length") << QString(255, u'n') << QByteArray("x");
    }

    void writesANewFileWhole()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, bytes);
        QCOMPARE(writeFileAtomically(path(name), bytes), std::nullopt);
        QCOMPARE(Files::contentOf(path(name)), bytes);
        QCOMPARE(Files::names(m_folder->path()), QStringList{name});
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(m_folder->path()));
        const auto failure = writeFileAtomically(name, "by a relative path");
        QVERIFY(QDir::setCurrent(before));
        QCOMPARE(failure, std::nullopt);
        QCOMPARE(Files::contentOf(path(name)), "by a relative path");
    }

    void whatIsNoFileIsNotReplaced_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("failure");
        QTest::newRow("a folder") << u"folder"_s << u"Is a directory"_s;
        QTest::newRow("a pipe") << u"pipe"_s << u"Invalid argument"_s;
        QTest::newRow("a name in a folder that is missing") << u"no/such/file"_s << u"No such file or directory"_s;
        QTest::newRow("a name below a file") << u"file/below"_s << u"Not a directory"_s;
        QTest::newRow("a link into a missing folder") << u"lost"_s << u"No such file or directory"_s;
        QTest::newRow("links in a circle") << u"one"_s << u"Too many levels of symbolic links"_s;
    }

    void whatIsNoFileIsNotReplaced()
    {
        QFETCH(QString, name);
        QFETCH(QString, failure);
        Files::create(path(), "a file");
        QVERIFY(QDir(m_folder->path()).mkdir(u"folder"_s));
        QCOMPARE(mkfifo(QFile::encodeName(path(u"pipe"_s)).constData(), 0600), 0);
        QVERIFY(QFile::link(u"missing/../later"_s, path(u"lost"_s)));
        QVERIFY(QFile::link(u"other"_s, path(u"one"_s)));
        QVERIFY(QFile::link(u"one"_s, path(u"other"_s)));
        const QStringList before = Files::names(m_folder->path());
        QCOMPARE(writeFileAtomically(path(name), "x"), failure);
        QCOMPARE(Files::names(m_folder->path()), before);
        QVERIFY(QFileInfo(path(u"folder"_s)).isDir() && S_ISFIFO(statusOf(path(u"pipe"_s)).st_mode));
        QCOMPARE(Files::contentOf(path()), "a file");
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

        QCOMPARE(writeFileAtomically(path(u"default"_s), "x"), std::nullopt);
        QCOMPARE(Files::mode(path(u"default"_s)), 0600);
    }

    void anExistingFileKeepsItsMode_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("afterwards");
        QTest::newRow("shared with a group") << 0660 << 0660;
        QTest::newRow("readable for all") << 0644 << 0644;
        QTest::newRow("executable") << 0755 << 0755;
        QTest::newRow("not to be written") << 0400 << 0400;
        QTest::newRow("set-user-id is not kept") << 04755 << 0755;
    }

    void anExistingFileKeepsItsMode()
    {
        QFETCH(int, mode);
        QFETCH(int, afterwards);
        Files::create(path(), "old");
        chmod(QFile::encodeName(path()).constData(), static_cast<mode_t>(mode));
        QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        QCOMPARE(Files::contentOf(path()), "new");
        QCOMPARE(Files::mode(path()), afterwards);
    }

    void anExistingFileKeepsItsOwnerWhereTheSystemLetsUs()
    {
        Files::create(path(), "old");
        const bool mayGiveAway = chown(QFile::encodeName(path()).constData(), someone, someone) == 0;
        QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        QCOMPARE(Files::contentOf(path()), "new");
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
        QCOMPARE(Files::contentOf(path()), "new");
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
        const QString near = u"elsewhere/real"_s;
        const QString far = u"data/elsewhere/real"_s;
        QTest::newRow("an absolute link") << u"link"_s << u"%1/elsewhere/real"_s << near;
        QTest::newRow("a relative link") << u"link"_s << u"elsewhere/real"_s << near;
        QTest::newRow("a link to a link") << u"link"_s << u"another"_s << near;
        QTest::newRow("a relative link that climbs out of a linked folder")
            << u"folder/link"_s << u"../elsewhere/real"_s << far;
        QTest::newRow("a link that climbs out of a linked folder by itself")
            << u"link"_s << u"folder/../elsewhere/real"_s << far;
    }

    void aSymbolicLinkStaysOne()
    {
        QFETCH(QString, link);
        QFETCH(QString, target);
        QFETCH(QString, real);
        const QStringList files{u"elsewhere/real"_s, u"data/elsewhere/real"_s};
        for (const QString& file : files) {
            Files::create(path(file), "old");
            chmod(QFile::encodeName(path(file)).constData(), 0640);
        }
        QVERIFY(QDir(m_folder->path()).mkpath(u"data/folder"_s));
        QVERIFY(QFile::link(u"data/folder"_s, path(u"folder"_s)));
        QVERIFY(QFile::link(u"elsewhere/real"_s, path(u"another"_s)));
        QVERIFY(QFile::link(target.replace(u"%1"_s, m_folder->path()), path(link)));

        QCOMPARE(writeFileAtomically(path(link), "new"), std::nullopt);
        QVERIFY(QFileInfo(path(link)).isSymLink());
        QVERIFY(QFileInfo(path(u"another"_s)).isSymLink());
        for (const QString& file : files) {
            QCOMPARE(Files::contentOf(path(file)), QByteArray(file == real ? "new" : "old"));
            QCOMPARE(Files::mode(path(file)), 0640);
            QCOMPARE(Files::names(QFileInfo(path(file)).path()), QStringList{u"real"_s});
        }
    }

    void aDanglingLinkGetsItsTarget()
    {
        QVERIFY(QFile::link(u"later"_s, path()));
        QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        QVERIFY(QFileInfo(path()).isSymLink());
        QCOMPARE(Files::contentOf(path(u"later"_s)), "new");
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
        const QString file = disk.path(u"file"_s);
        Files::create(file, "the earlier file");
        disk.fill(freePages * 4096);
        const QStringList before = Files::names(disk.path());
        QCOMPARE(writeFileAtomically(file, QByteArray(size, 'n')), u"No space left on device"_s);
        QCOMPARE(Files::contentOf(file), "the earlier file");
        QCOMPARE(Files::names(disk.path()), before);

        disk.empty();
        QCOMPARE(writeFileAtomically(file, QByteArray(size, 'n')), std::nullopt);
        QCOMPARE(Files::contentOf(file).size(), size);
    }

    void whatAKilledWriterLeftIsRemoved()
    {
        Files::create(path(u".nelo-writing-AbcdefghijkZ"_s), "half a fi");
        Files::create(path(u"elsewhere/.nelo-writing-AbcdefghijkZ"_s), "half a fi");
        Files::create(path(u"elsewhere/target"_s), "old");
        QVERIFY(QFile::link(u"elsewhere/target"_s, path()));
        QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        QCOMPARE(Files::names(path(u"elsewhere"_s)), QStringList{u"target"_s});
        QCOMPARE(writeFileAtomically(path(u"other"_s), "new"), std::nullopt);
        QCOMPARE(Files::names(m_folder->path()), (QStringList{u"elsewhere"_s, u"file"_s, u"other"_s}));
    }

    void whatALivingWriterWritesStays()
    {
        QFile living(path(u".nelo-writing-AbcdefghijkZ"_s));
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
        QTest::newRow("a shorter name") << u".nelo-writing-Abcdefghijk"_s;
        QTest::newRow("a longer name") << u".nelo-writing-AbcdefghijkLm"_s;
        QTest::newRow("a name with a digit") << u".nelo-writing-Abcdefghijk1"_s;
        QTest::newRow("a name that goes on before") << u"my.nelo-writing-AbcdefghijkL"_s;
        QTest::newRow("a folder") << u".nelo-writing-AbcdefghijkL/file"_s;
    }

    void whatIsNotOursStays()
    {
        QFETCH(QString, name);
        Files::create(path(name), "mine");
        QVERIFY(QFile::link(path(name), path(u".nelo-writing-LinkLinkLink"_s)));
        QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        QCOMPARE(Files::contentOf(path(name)), "mine");
        QCOMPARE(Files::contentOf(path(u".nelo-writing-LinkLinkLink"_s)), "mine");
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
        if (inPlace == u"a file"_s)
            Files::create(path(), "old");
        else if (inPlace == u"a folder"_s)
            QVERIFY(QDir(m_folder->path()).mkdir(u"file"_s));
        else
            QVERIFY(QFile::link(u"nowhere"_s, path()));
        QCOMPARE(writeNewFile(path(), "new", 0600), u"File exists"_s);
        QVERIFY(Files::contentOf(path()) != QByteArray("new"));
        QCOMPARE(Files::names(m_folder->path()), QStringList{u"file"_s});

        const mode_t before = umask(077);
        const auto failure = writeNewFile(path(u"free"_s), "new", 0640);
        umask(before);
        QCOMPARE(failure, std::nullopt);
        QCOMPARE(Files::contentOf(path(u"free"_s)), "new");
        QCOMPARE(Files::mode(path(u"free"_s)), 0640);
    }

private:
    QString path(const QString& relative = u"file"_s) const { return m_folder->filePath(relative); }

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
