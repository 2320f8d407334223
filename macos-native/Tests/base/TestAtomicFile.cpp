#include "base/AtomicFile.h"

#include "support/Cases.h"
#include "support/Files.h"
#include "support/OrdinaryUser.h"
#include "support/SmallDisk.h"
#include "support/TestCase.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

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
class TestAtomicFile final : public TestCase
{
    Q_OBJECT

public:
    static void initMain() { SmallDisk::allowMounts(); }

private slots:
    void writesANewFileWhole_data()
    {
        const Cases<QString, QByteArray> add("name", "bytes");
        add("a line", u"file"_s, "hello\n");
        add("no bytes", u"file"_s, "");
        add("bytes of any value", u"file"_s, QByteArray("a\0b\xff\r\n", 6));
        add("20 MB", u"file"_s, QByteArray(20'000'000, 'x'));
        add("a name of the greatest length", QString(255, u'n'), "x");
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
        const Cases<QString, QString> add("name", "failure");
        add("a folder", u"folder"_s, u"Is a directory"_s);
        add("a pipe", u"pipe"_s, u"Invalid argument"_s);
        add("a name in a folder that is missing", u"no/such/file"_s, u"No such file or directory"_s);
        add("a name below a file", u"file/below"_s, u"Not a directory"_s);
        add("a link into a missing folder", u"lost"_s, u"No such file or directory"_s);
        add("links in a circle", u"one"_s, u"Too many levels of symbolic links"_s);
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

    void aNewFileGetsItsModeWhateverTheUmask()
    {
        for (const auto& [mask, mode] : {std::pair{022U, 0600U}, {0U, 0600U}, {077U, 0644U}}) {
            const mode_t before = umask(mask);
            const auto failure = writeFileAtomically(path(), "x", mode);
            umask(before);
            QCOMPARE(failure, std::nullopt);
            QCOMPARE(Files::mode(path()), static_cast<int>(mode));
            QVERIFY(QFile::remove(path()));
        }
        QCOMPARE(writeFileAtomically(path(), "x"), std::nullopt);
        QCOMPARE(Files::mode(path()), 0600);
    }

    void anExistingFileKeepsItsMode()
    {
        for (const mode_t mode : {0660U, 0644U, 0755U, 0400U, 04755U}) {
            QFile::remove(path());
            Files::create(path(), "old");
            chmod(QFile::encodeName(path()).constData(), mode);
            QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
            QCOMPARE(Files::contentOf(path()), "new");
            QCOMPARE(Files::mode(path()), static_cast<int>(mode & 0777U)); // set-user-id is not kept
        }
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

    void noGroupGainsRightsWhenTheFilesGroupCannotBeKept()
    {
        for (const auto& [mode, afterwards] : {std::pair{0640U, 0600}, // what the group alone might read
                                               {0660U, 0600},          // what the group alone might write
                                               {0664U, 0644},          // what all might read
                                               {0604U, 0600},          // what all but the group might read
                                               {0700U, 0700}}) {
            QFile::remove(path());
            Files::create(path(), "old");
            const bool isSomeones = chown(QFile::encodeName(path()).constData(), someone, someone) == 0;
            chmod(QFile::encodeName(path()).constData(), mode);
            {
                const OrdinaryUser user;
                QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
            }
            QCOMPARE(statusOf(path()).st_gid, getegid());
            QCOMPARE(Files::mode(path()), isSomeones ? afterwards : static_cast<int>(mode));
        }
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
        const Cases<QString, QString, QString> add("link", "target", "real");
        const QString near = u"elsewhere/real"_s;
        const QString far = u"data/elsewhere/real"_s;
        add("an absolute link", u"link"_s, u"%1/elsewhere/real"_s, near);
        add("a relative link", u"link"_s, u"elsewhere/real"_s, near);
        add("a link to a link", u"link"_s, u"another"_s, near);
        add("a relative link that climbs out of a linked folder", u"folder/link"_s, u"../elsewhere/real"_s, far);
        add("a link that climbs out of a linked folder by itself", u"link"_s, u"folder/../elsewhere/real"_s, far);
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
        const Cases<qint64, int> add("freePages", "size");
        add("no room at all", 0, 100);
        add("room for the beginning of a small file", 1, 10'000);
        add("room for the beginning of a large file", 8, 100'000);
        add("room for all but the last byte", 8, 8 * 4096 + 1);
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
        const Cases<QString> add("name");
        add("a shorter name", u".nelo-writing-Abcdefghijk"_s);
        add("a longer name", u".nelo-writing-AbcdefghijkLm"_s);
        add("a name with a digit", u".nelo-writing-Abcdefghijk1"_s);
        add("a name that goes on before", u"my.nelo-writing-AbcdefghijkL"_s);
        add("a folder", u".nelo-writing-AbcdefghijkL/file"_s);
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

    void aNewFileTakesNobodysPlace()
    {
        Files::create(path(u"file"_s), "old");
        QVERIFY(QDir(m_folder->path()).mkdir(u"folder"_s));
        QVERIFY(QFile::link(u"nowhere"_s, path(u"link"_s)));
        const QStringList names{u"file"_s, u"folder"_s, u"link"_s};
        for (const QString& name : names)
            QCOMPARE(writeNewFile(path(name), "new", 0600), u"File exists"_s);
        QCOMPARE(Files::contentOf(path()), "old");
        QCOMPARE(Files::names(m_folder->path()), names);

        const mode_t before = umask(077);
        const auto failure = writeNewFile(path(u"free"_s), "new", 0640);
        umask(before);
        QCOMPARE(failure, std::nullopt);
        QCOMPARE(Files::contentOf(path(u"free"_s)), "new");
        QCOMPARE(Files::mode(path(u"free"_s)), 0640);
    }

private:
    QString path(const QString& relative = u"file"_s) const { return m_folder->filePath(relative); }

    Fresh<QTemporaryDir> m_folder{this};
};

QTEST_GUILESS_MAIN(TestAtomicFile)
#include "TestAtomicFile.moc"
