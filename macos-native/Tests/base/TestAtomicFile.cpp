#include "base/AtomicFile.h"

#include "base/FileDescriptor.h"
#include "support/CaseTable.h"
#include "support/Files.h"
#include "support/OrdinaryUser.h"
#include "support/SmallDisk.h"
#include "support/TestCase.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <array>
#include <optional>
#include <vector>

#include <grp.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// The id of a user and a group that this process does not belong to.
constexpr uid_t someone = 12345;

/// Makes this process a member of its own group and `group` only, while it lives, if it has the right.
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

/// Replacing a whole file in one step.
class TestAtomicFile final : public TestCase
{
    Q_OBJECT

public:
    static void initMain() { SmallDisk::allowMounts(); }

private slots:
    void writesANewFileWhole()
    {
        const CaseTable<QString, QByteArray> cases{
            {"a line", u"file"_s, "hello\n"},
            {"no bytes", u"file"_s, ""},
            {"bytes of any value", u"file"_s, QByteArray("a\0b\xff\r\n", 6)},
            {"20 MB", u"file"_s, QByteArray(20'000'000, 'x')},
            {"a name of the greatest length", QString(255, u'n'), "x"},
        };
        for (const auto& [name, bytes] : cases) {
            QCOMPARE(writeFileAtomically(path(name), bytes), std::nullopt);
            QCOMPARE(Files::contentOf(path(name)), bytes);
            QCOMPARE(Files::names(m_folder->path()), QStringList{name});
            QVERIFY(QFile::remove(path(name)));
        }
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(m_folder->path()));
        const auto failure = writeFileAtomically(u"file"_s, "by a relative path");
        QVERIFY(QDir::setCurrent(before));
        QCOMPARE(failure, std::nullopt);
        QCOMPARE(Files::contentOf(path()), "by a relative path");
    }

    void onlyARegularFileIsReplaced()
    {
        Files::create(path(), "a file");
        QVERIFY(QDir(m_folder->path()).mkdir(u"folder"_s));
        QCOMPARE(mkfifo(QFile::encodeName(path(u"pipe"_s)).constData(), 0600), 0);
        QVERIFY(QFile::link(u"missing/../later"_s, path(u"lost"_s)));
        QVERIFY(QFile::link(u"other"_s, path(u"one"_s)));
        QVERIFY(QFile::link(u"one"_s, path(u"other"_s)));
        const QStringList before = Files::names(m_folder->path());
        const CaseTable<QString, QString> cases{
            {"a folder", u"folder"_s, u"Is a directory"_s},
            {"a pipe", u"pipe"_s, u"Invalid argument"_s},
            {"a name in a folder that is missing", u"no/such/file"_s, u"No such file or directory"_s},
            {"a name below a file", u"file/below"_s, u"Not a directory"_s},
            {"a link into a missing folder", u"lost"_s, u"No such file or directory"_s},
            {"links in a circle", u"one"_s, u"Too many levels of symbolic links"_s},
        };
        for (const auto& [name, failure] : cases)
            QCOMPARE(writeFileAtomically(path(name), "x"), failure);
        QCOMPARE(Files::names(m_folder->path()), before);
        QVERIFY(QFileInfo(path(u"folder"_s)).isDir() && S_ISFIFO(statusOf(path(u"pipe"_s)).st_mode));
        QCOMPARE(Files::contentOf(path()), "a file");
    }

    void theUmaskDoesNotChangeTheModeOfANewFile()
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

    void anExistingFileKeepsItsOwnerGroupAndModeAsFarAsTheSystemAllows()
    {
        enum class Writer { Owner, Superuser, GroupMember, Stranger }; // what the writer is for the file
        const CaseTable<Writer, mode_t, mode_t> cases{
            {"our own file", Writer::Owner, 0660, 0660},
            {"our own file, which others may read", Writer::Owner, 0644, 0644},
            {"our own program", Writer::Owner, 0755, 0755},
            {"our own file, which is read-only", Writer::Owner, 0400, 0400},
            {"set-user-id is not kept", Writer::Owner, 04755, 0755},
            {"the superuser gives it back", Writer::Superuser, 0640, 0640},
            {"a member of its group keeps the group", Writer::GroupMember, 0660, 0660},
            {"only the former group could read it", Writer::Stranger, 0640, 0600},
            {"only the former group could write it", Writer::Stranger, 0660, 0600},
            {"everybody could read it", Writer::Stranger, 0664, 0644},
            {"everybody but the former group could read it", Writer::Stranger, 0604, 0600},
            {"only its owner could use it", Writer::Stranger, 0700, 0700},
        };
        for (const auto& [writer, mode, modeAfterwards] : cases) {
            QFile::remove(path());
            Files::create(path(), "old");
            const QByteArray file = QFile::encodeName(path());
            // Only the superuser can make a file of somebody else. Without that right the file is our own in each case.
            const bool isOurs = writer == Writer::Owner || chown(file.constData(), someone, someone) != 0;
            chmod(file.constData(), mode);
            {
                std::optional<MemberOf> membership;
                std::optional<OrdinaryUser> user;
                if (writer == Writer::GroupMember)
                    membership.emplace(someone);
                if (writer == Writer::GroupMember || writer == Writer::Stranger)
                    user.emplace();
                QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
            }
            QCOMPARE(Files::contentOf(path()), "new");
            QCOMPARE(statusOf(path()).st_uid, isOurs || writer != Writer::Superuser ? geteuid() : someone);
            QCOMPARE(statusOf(path()).st_gid, isOurs || writer == Writer::Stranger ? getegid() : someone);
            const bool isKept = isOurs && writer != Writer::Owner;
            QCOMPARE(Files::mode(path()), static_cast<int>(isKept ? mode : modeAfterwards));
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
        Files::create(path(), "old");
        const FileDescriptor events(inotify_init1(IN_NONBLOCK));
        inotify_add_watch(events.get(), QFile::encodeName(m_folder->path()).constData(), IN_ALL_EVENTS);
        QCOMPARE(writeFileAtomically(path(), QByteArray(300'000, 'n')), std::nullopt);
        alignas(inotify_event) std::array<char, 4096> buffer{};
        const ssize_t size = read(events.get(), buffer.data(), buffer.size());
        QList<quint32> changes; // of the name "file"
        for (const char* at = buffer.data(); at < buffer.data() + size;) {
            const auto* event = reinterpret_cast<const inotify_event*>(at);
            if (event->len > 0 && event->name == "file"_ba)
                changes.append(event->mask);
            at += sizeof(inotify_event) + event->len;
        }
        QCOMPARE(changes, QList<quint32>{IN_MOVED_TO}); // it is never written under its own name
    }

    void aSymbolicLinkStaysALink()
    {
        const QStringList files{u"elsewhere/real"_s, u"data/elsewhere/real"_s};
        const CaseTable<QString, QString, QString> cases{
            {"an absolute link", u"link"_s, u"%1/elsewhere/real"_s, files[0]},
            {"a relative link", u"link"_s, u"elsewhere/real"_s, files[0]},
            {"a link to a link", u"link"_s, u"another"_s, files[0]},
            {"a relative link that leads out of a linked folder", u"folder/link"_s, u"../elsewhere/real"_s, files[1]},
            {"a link that leads out of a linked folder by itself", u"link"_s, u"folder/../elsewhere/real"_s, files[1]},
        };
        for (const auto& [link, target, real] : cases) {
            restart();
            for (const QString& file : files) {
                Files::create(path(file), "old");
                chmod(QFile::encodeName(path(file)).constData(), 0640);
            }
            QVERIFY(QDir(m_folder->path()).mkpath(u"data/folder"_s));
            QVERIFY(QFile::link(u"data/folder"_s, path(u"folder"_s)));
            QVERIFY(QFile::link(u"elsewhere/real"_s, path(u"another"_s)));
            QVERIFY(QFile::link(QString(target).replace(u"%1"_s, m_folder->path()), path(link)));

            QCOMPARE(writeFileAtomically(path(link), "new"), std::nullopt);
            QVERIFY(QFileInfo(path(link)).isSymLink());
            QVERIFY(QFileInfo(path(u"another"_s)).isSymLink());
            for (const QString& file : files) {
                QCOMPARE(Files::contentOf(path(file)), QByteArray(file == real ? "new" : "old"));
                QCOMPARE(Files::mode(path(file)), 0640);
                QCOMPARE(Files::names(QFileInfo(path(file)).path()), QStringList{u"real"_s});
            }
        }
    }

    void theMissingTargetOfALinkIsMade()
    {
        QVERIFY(QFile::link(u"later"_s, path()));
        QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        QVERIFY(QFileInfo(path()).isSymLink());
        QCOMPARE(Files::contentOf(path(u"later"_s)), "new");
    }

    void theEarlierFileStaysWhenTheDiskIsFull()
    {
        const CaseTable<qint64, int> cases{
            {"no room at all", 0, 100},
            {"room for the beginning of a small file", 1, 10'000},
            {"room for the beginning of a large file", 8, 100'000},
            {"room for all but the last byte", 8, 8 * 4096 + 1},
        };
        for (const auto& [freePages, size] : cases) {
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
    }

    void theLeftoverOfAKilledWriterIsRemoved()
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

    void theFileOfARunningWriterIsNotRemoved()
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

    void filesOfOthersAreNotRemoved()
    {
        const QStringList names{
            u".nelo-writing-Abcdefghijk"_s,       // a letter too few
            u".nelo-writing-AbcdefghijkLm"_s,     // a letter too many
            u".nelo-writing-Abcdefghijk1"_s,      // a digit
            u"my.nelo-writing-AbcdefghijkL"_s,    // another beginning
            u".nelo-writing-AbcdefghijkL/file"_s, // a folder
            u".nelo-writing-LinkLinkLink"_s,      // a link
        };
        QVERIFY(QFile::link(path(names.first()), path(names.last())));
        for (const QString& name : names.first(5))
            Files::create(path(name), "mine");
        QCOMPARE(writeFileAtomically(path(), "new"), std::nullopt);
        for (const QString& name : names)
            QVERIFY2(Files::contentOf(path(name)) == "mine", qPrintable(name));
    }

    void aNewFileReplacesNothing()
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
