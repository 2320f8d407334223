#include "platform/SingleInstance.h"

#include "support/CaseTable.h"
#include "support/ProcessTable.h"
#include "support/TestCase.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QSocketNotifier>
#include <QTemporaryDir>

#include <future>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Role = SingleInstance::Role;

/// Only one instance of the program runs: the lock, the socket, and the folder of both.
class TestSingleInstance final : public TestCase
{
    Q_OBJECT

private slots:
    void init() override
    {
        for (const char* name : names)
            qunsetenv(name);
        TestCase::init();
    }

    void aLaterStartSendsItsToken()
    {
        SingleInstance first(folder());
        QCOMPARE(first.role(), Role::First);
        first.listen();
        QSignalSpy requests(&first, &SingleInstance::activationRequested);
        const FileDescriptor other = connectionTo(&first);
        QCOMPARE(write(other.get(), "hello", 5), 5); // this is no request
        char answer = 0;
        QTRY_COMPARE(recv(other.get(), &answer, 1, MSG_DONTWAIT | MSG_PEEK), 0); // closed without an answer
        QCOMPARE(startAgain(), Role::Later);
        qputenv("DESKTOP_STARTUP_ID", "startup_TIME7");
        QCOMPARE(startAgain(), Role::Later);
        qputenv("XDG_ACTIVATION_TOKEN", "token");
        QCOMPARE(startAgain(), Role::Later);
        QTRY_COMPARE(requests,
                     (QSignalSpy::QList{{QByteArray()}, {QByteArray("startup_TIME7")}, {QByteArray("token")}}));
    }

    void theFirstOneComesForwardOnItsOwnDisplay()
    {
        const CaseTable<QByteArrayList, QByteArrayList, Role> cases{
            {"another X display", {"", ":0"}, {"", ":1"}, Role::OtherDisplay},
            {"another screen of the X display", {"", ":0"}, {"", ":0.1"}, Role::Later},
            {"the X display of a host with dots", {"", "10.0.0.1:0"}, {"", "10.0.0.1:1"}, Role::OtherDisplay},
            {"another Wayland display", {"wayland-0", ":0"}, {"wayland-1", ":1"}, Role::OtherDisplay},
            {"the X display of the Wayland session", {"wayland-0", ":0"}, {"", ":0"}, Role::Later},
            {"no display", {"wayland-0", ":0"}, {"", ""}, Role::OtherDisplay},
        };
        for (const auto& [first, later, role] : cases) {
            setDisplays(first);
            SingleInstance running(folder());
            running.listen();
            QSignalSpy requests(&running, &SingleInstance::activationRequested);
            setDisplays(later);
            QCOMPARE(startAgain(), role);
            QCOMPARE(requests.count(), role == Role::Later ? 1 : 0);
        }
    }

    void aSocketThatAKilledProgramLeftIsReplaced()
    {
        FileDescriptor left = connectionTo(nullptr);
        left = FileDescriptor();
        QVERIFY(QFileInfo::exists(socketFile()));
        SingleInstance first(folder());
        QCOMPARE(first.role(), Role::First);
        first.listen();
        QCOMPARE(startAgain(), Role::Later);
    }

    void aLaterStartWaitsForTheFirstToListen()
    {
        SingleInstance first(folder());
        std::future<Role> later = start();
        QCOMPARE(later.wait_for(50ms), std::future_status::timeout);
        first.listen();
        QCOMPARE(result(later), Role::Later);
    }

    void aStartWhileTheFirstOneQuitsBecomesTheFirst()
    {
        auto first = std::make_unique<SingleInstance>(folder());
        first->listen();
        QSignalSpy requests(first.get(), &SingleInstance::activationRequested);
        std::future<Role> later = start(0ms);
        const FileDescriptor connection = connectionTo(first.get()); // a later start has connected ...
        first->stopListening();                                      // ... and gets no answer
        char byte = 0;
        QVERIFY(read(connection.get(), &byte, 1) <= 0);
        QCOMPARE(later.wait_for(50ms), std::future_status::timeout);
        first.reset();
        QCOMPARE(result(later), Role::First);
    }

    void aStartThatHasTheLockBecomesTheFirstWhenTheOtherQuits()
    {
        FileDescriptor other = connectionTo(nullptr);
        QCOMPARE(::listen(other.get(), 1), 0);
        std::future<Role> later = start();
        FileDescriptor(accept(other.get(), nullptr, nullptr)); // closed without an answer
        other = FileDescriptor();
        QCOMPARE(result(later), Role::First);
    }

    void deletedFilesAreRestored()
    {
        const CaseTable<QStringList> cases{
            {"the lock", {u"nelo.lock"_s}},
            {"the socket", {u"nelo.socket"_s}},
            {"both", {u"nelo.lock"_s, u"nelo.socket"_s}},
        };
        for (const auto& [files] : cases) {
            SingleInstance first(folder());
            first.listen();
            for (int round = 0; round < 2; ++round) {
                for (const QString& file : std::as_const(files))
                    QVERIFY(QFile::remove(m_folder->filePath(file)));
                QTRY_COMPARE(QDir(m_folder->path()).entryList(QDir::System | QDir::Files).size(), 2);
                QCOMPARE(startAgain(), Role::Later);
            }
            first.stopListening();
            QCOMPARE(SingleInstance(folder(), 0ms).role(), Role::Unreachable); // the first one holds the new lock
        }
    }

    void aStartThatGetsTheLockStillAsksTheSocket()
    {
        SingleInstance first(folder());
        first.listen();
        std::future<Role> later = start();
        QVERIFY(QFile::remove(m_folder->filePath(u"nelo.lock"_s)));
        QCOMPARE(SingleInstance(folder() / "elsewhere").role(), Role::First);
        QCOMPARE(result(later), Role::Later);
    }

    void aFirstOneWithoutFreeDescriptorsPauses()
    {
        SingleInstance first(folder());
        first.listen();
        rlimit before{};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &before), 0);
        std::vector<FileDescriptor> all;
        const FileDescriptor connection = connectionTo(&first);
        const rlimit few{static_cast<rlim_t>(ProcessTable::openDescriptors()), before.rlim_max};
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &few), 0);
        while (all.empty() || all.back().get() >= 0)
            all.emplace_back(open("/dev/null", O_RDONLY));
        const auto* notifier = first.findChild<QSocketNotifier*>();
        QTRY_VERIFY(!notifier->isEnabled());
        all.clear();
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &before), 0);
        QTRY_VERIFY(notifier->isEnabled());
        QCOMPARE(startAgain(), Role::Later);
    }

    void otherUsersCannotOpenTheLock()
    {
        const SingleInstance first(folder());
        QCOMPARE(QFileInfo(m_folder->filePath(u"nelo.lock"_s)).permissions()
                     & (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther),
                 QFile::Permissions());
    }

    void nothingIsLeftButTheLock()
    {
        {
            SingleInstance first(folder());
            first.listen();
        }
        QCOMPARE(QDir(m_folder->path()).entryList(QDir::System | QDir::Files), {u"nelo.lock"_s});
    }

    void withoutAFolderThisIsTheFirst()
    {
        for (const std::optional<std::filesystem::path>& none :
             {std::optional<std::filesystem::path>(), std::optional(folder() / "missing"),
              std::optional(folder() / std::string(200, 'x'))}) {
            SingleInstance instance(none);
            QCOMPARE(instance.role(), Role::First);
            instance.listen();
            instance.stopListening();
        }
    }

    void theFolderIsThatOfTheSessionOrAPrivateOne()
    {
        const CaseTable<QByteArray, bool> cases{
            {"the session's", QFile::encodeName(QDir::tempPath() + u"/nelo-test-session"_s), true},
            {"none", {}, false},
            {"empty", "", false},
            {"relative", ".", false},
            {"missing", "/no/such/folder", false},
            {"a file", "/etc/passwd", false},
            {"open to all", "/tmp", false},
            {"another user's", QByteArray(geteuid() == 0 ? "/var/lib/private" : "/root"), false},
        };
        for (const auto& [given, isTaken] : cases) {
            restart();
            QByteArray others = given;
            if (isTaken) {
                others = QFile::encodeName(m_folder->filePath(u"session"_s));
                QCOMPARE(mkdir(others.constData(), S_IRWXU), 0);
            } else if (given == "/var/lib/private") { // the superuser can give a folder away
                others = QFile::encodeName(m_folder->filePath(u"others"_s));
                QCOMPARE(mkdir(others.constData(), S_IRWXU), 0);
                QCOMPARE(chown(others.constData(), 1, 1), 0);
            }
            if (!given.isNull())
                qputenv("XDG_RUNTIME_DIR", others);
            qputenv("TMPDIR", QFile::encodeName(m_folder->path()));
            const std::optional<std::filesystem::path> found = SingleInstance::defaultFolder();
            QVERIFY(found);
            QCOMPARE(*found == others.toStdString(), isTaken);
            QCOMPARE(found->parent_path(), folder());
            QCOMPARE(std::filesystem::status(*found).permissions(), std::filesystem::perms::owner_all);
            QCOMPARE(SingleInstance::defaultFolder(), found); // it exists now
            std::filesystem::permissions(*found, std::filesystem::perms::all);
            if (!isTaken)
                QCOMPARE(SingleInstance::defaultFolder(), std::nullopt);
        }
    }

private:
    static constexpr const char* names[] = {"XDG_RUNTIME_DIR",    "TMPDIR",  "XDG_ACTIVATION_TOKEN",
                                            "DESKTOP_STARTUP_ID", "DISPLAY", "WAYLAND_DISPLAY"};

    std::filesystem::path folder() const { return m_folder->path().toStdString(); }
    QString socketFile() const { return m_folder->filePath(u"nelo.socket"_s); }

    static void setDisplays(const QByteArrayList& displays)
    {
        qputenv("WAYLAND_DISPLAY", displays[0]);
        qputenv("DISPLAY", displays[1]);
    }

    /// Starts the program again, in another thread, because the first instance needs the event loop of this thread.
    std::future<Role> start(std::chrono::milliseconds timeout = 10s) const
    {
        return std::async(std::launch::async, [=, this] { return SingleInstance(folder(), timeout).role(); });
    }

    static std::optional<Role> result(std::future<Role>& start)
    {
        const auto isReady = [&start] { return start.wait_for(0ms) == std::future_status::ready; };
        return QTest::qWaitFor(isReady) ? std::optional(start.get()) : std::nullopt;
    }

    std::optional<Role> startAgain() const
    {
        std::future<Role> again = start();
        return result(again);
    }

    /// Returns a connection to `first`. Without `first`, returns a socket whose file stays when the socket is closed.
    FileDescriptor connectionTo(const SingleInstance* first) const
    {
        sockaddr_un address{AF_UNIX, {}};
        qstrncpy(static_cast<char*>(address.sun_path), QFile::encodeName(socketFile()), sizeof address.sun_path);
        FileDescriptor made(socket(AF_UNIX, SOCK_STREAM, 0));
        const auto use = first ? ::connect : ::bind;
        const int failure = use(made.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
        return failure ? FileDescriptor() : std::move(made);
    }

    Fresh<QTemporaryDir> m_folder{this};
};

QTEST_GUILESS_MAIN(TestSingleInstance)
#include "TestSingleInstance.moc"
