#include "base/ApiKeyStore.h"

#include "base/StoredKey.h"
#include "support/Cases.h"
#include "support/Files.h"
#include "support/SmallDisk.h"
#include "support/TestCase.h"
#include "support/TestHome.h"

#include <QDir>
#include <QFile>
#include <QSettings>

#include <atomic>
#include <chrono>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString openai = u"openai"_s;
const QString kimi = u"kimi"_s;

} // namespace

/// API keys in the user defaults.
class TestApiKeyStore final : public TestCase
{
    Q_OBJECT

public:
    static void initMain() { SmallDisk::allowMounts(); }

private slots:
    void init()
    {
        TestCase::init();
        QCoreApplication::setOrganizationName(u"Nelo"_s);
        QCoreApplication::setApplicationName(u"TestApiKeyStore"_s);
        keepDefaultsIn(m_home->path(u".config"_s));
    }

    void anAbsentKeyIsEmpty()
    {
        QCOMPARE(ApiKeyStore().key(openai), QString());
        QVERIFY(!QFileInfo::exists(file())); // looking leaves nothing
    }

    void keysAreKeptExactly_data()
    {
        const Cases<QString> add("key");
        add("a key as providers give it", u"sk-proj-abc_DEF-0123456789"_s);
        add("an empty key", {});
        add("blanks, also around it", u"  a key \t"_s);
        add("line breaks", u"first\nsecond\r\n"_s);
        add("10,000 characters", QString(10'000, QLatin1Char('k')));
        add("Chinese", u"密钥"_s);
        add("an emoji", u"🔑"_s);
        add("a zero character", u"a"_s + QChar(0) + u"b"_s);
        add("a list's comma", u"a, b"_s);
        add("the file format's own signs", u"; # = [General] \"\\x41\" %41"_s);
        add("the mark of other types", u"@ByteArray(x)"_s);
        add("the mark of no value", u"@Invalid()"_s);
    }

    void keysAreKeptExactly()
    {
        QFETCH(QString, key);
        QCOMPARE(ApiKeyStore().setKeys({{openai, key}}), std::nullopt);
        QCOMPARE(ApiKeyStore().key(openai), key);
        QCOMPARE(storedKey(file(), openai), key);
    }

    void eachProviderHasItsOwn()
    {
        ApiKeyStore store;
        QCOMPARE(store.setKeys({{openai, u"one"_s}, {kimi, u"two"_s}}), std::nullopt);
        QCOMPARE(store.setKeys({{openai, u"three"_s}}), std::nullopt);
        QVERIFY(Files::contentOf(file()).contains("\nnelo.menubar.apiKey.openai=three\n"));
        QCOMPARE(store.key(openai), u"three"_s);
        QCOMPARE(store.key(kimi), u"two"_s);
        QCOMPARE(store.key(u"deepseek"_s), QString());
    }

    void aKeyOfAnotherApplicationIsNotOurs()
    {
        QSettings ofTheOrganization(QSettings::UserScope, u"Nelo"_s);
        ofTheOrganization.setValue(u"nelo.menubar.apiKey.openai"_s, u"theirs"_s);
        ofTheOrganization.sync();
        QCOMPARE(QSettings().value(u"nelo.menubar.apiKey.openai"_s).toString(), u"theirs"_s);
        QCOMPARE(ApiKeyStore().key(openai), QString());
    }

    void theFileIsPrivateFromItsFirstByte()
    {
        for (const mode_t mask : {022U, 0U}) {
            QFile::remove(file());
            const mode_t before = umask(mask);
            ApiKeyStore store;
            const bool first = !store.setKeys({{openai, u"one"_s}});
            const int firstMode = Files::mode(file());
            const bool second = !store.setKeys({{openai, u"two"_s}});
            umask(before);
            QVERIFY(first && second);
            QCOMPARE(firstMode, 0600);
            QCOMPARE(Files::mode(file()), 0600);
            // Nothing else lies there, and so nothing that others could have read.
            QCOMPARE(Files::names(m_folder + u"/Nelo"_s), QStringList{u"TestApiKeyStore.conf"_s});
        }
    }

    void aFileThatOthersMayReadIsMadePrivate()
    {
        Files::create(file(), "[General]\nnelo.menubar.apiKey.openai=one\n");
        chmod(QFile::encodeName(file()).constData(), 0644);
        ApiKeyStore store;
        QCOMPARE(store.key(openai), u"one"_s);
        QCOMPARE(Files::mode(file()), 0600);
        chmod(QFile::encodeName(file()).constData(), 0644);
        QCOMPARE(store.setKeys({{openai, u"two"_s}}), std::nullopt);
        QCOMPARE(Files::mode(file()), 0600);
    }

    void aLinkToTheFileStaysOne()
    {
        const QString real = m_home->path(u"real.conf"_s);
        Files::create(real, "");
        QVERIFY(QDir().mkpath(QFileInfo(file()).path()));
        QVERIFY(QFile::link(real, file()));
        QCOMPARE(ApiKeyStore().setKeys({{openai, u"one"_s}}), std::nullopt);
        QVERIFY(QFileInfo(file()).isSymLink());
        QCOMPARE(storedKey(real, openai), u"one"_s);
        QCOMPARE(Files::mode(real), 0600);
    }

    void aDiskThatIsFullOrReadOnlyIsToldAndKeepsTheEarlierKey()
    {
        const SmallDisk disk;
        keepDefaultsIn(disk.path());
        const QString earlier(9'000, u'e');
        QCOMPARE(ApiKeyStore().setKeys({{openai, earlier}}), std::nullopt);
        for (qint64 freePages = 0; freePages <= 4; ++freePages) {
            disk.fill(freePages * 4096);
            QVERIFY(ApiKeyStore().setKeys({{openai, QString(20'000, u'n')}}));
            QCOMPARE(storedKey(file(), openai), earlier);
            QCOMPARE(ApiKeyStore().key(openai), earlier);
            disk.empty();
        }
        QCOMPARE(ApiKeyStore().setKeys({{openai, u"new"_s}}), std::nullopt);
        disk.makeReadOnly();
        QVERIFY(ApiKeyStore().setKeys({{openai, u"newer"_s}}));
        QCOMPARE(storedKey(file(), openai), u"new"_s);
    }

    void aFolderInPlaceOfTheFileIsTold()
    {
        QVERIFY(QDir().mkpath(file()));
        QVERIFY(ApiKeyStore().setKeys({{openai, u"one"_s}}));
        QCOMPARE(ApiKeyStore().key(openai), QString());
    }

    void keysThatAreStoredAtOnceAreAllKept()
    {
        constexpr int count = 20;
        const auto storeAll = [](const QString& name) {
            for (int number = 0; number < count; ++number)
                QCOMPARE(ApiKeyStore(std::chrono::minutes(5)).setKeys({{name + QString::number(number), name}}),
                         std::nullopt);
        };
        std::thread other(storeAll, u"one"_s);
        storeAll(u"two"_s);
        other.join();
        for (int number = 0; number < count; ++number) {
            for (const QString& name : {u"one"_s, u"two"_s})
                QCOMPARE(storedKey(file(), name + QString::number(number)), name);
        }
    }

    void aLockThatIsReleasedIsWaitedFor()
    {
        QCOMPARE(ApiKeyStore().setKeys({{openai, u"one"_s}}), std::nullopt);
        const int lock = lockFolder();
        std::atomic<bool> isFree = false;
        std::thread other([&isFree, lock] {
            isFree = true;
            close(lock);
        });
        const bool isStored = !ApiKeyStore(std::chrono::minutes(5)).setKeys({{openai, u"two"_s}});
        const bool hasWaited = isFree;
        other.join();
        QVERIFY(isStored && hasWaited);
        QCOMPARE(ApiKeyStore().key(openai), u"two"_s);
    }

    void aLockThatAnotherProgramKeepsIsTold()
    {
        QCOMPARE(ApiKeyStore::defaultLockTimeout, std::chrono::milliseconds(100));
        QCOMPARE(ApiKeyStore().setKeys({{openai, u"one"_s}}), std::nullopt);
        const int lock = lockFolder();
        const std::optional<QString> failure = ApiKeyStore().setKeys({{openai, u"two"_s}});
        close(lock);
        QCOMPARE(failure, u"another program is writing them"_s);
        QCOMPARE(ApiKeyStore().key(openai), u"one"_s);
    }

private:
    void keepDefaultsIn(const QString& folder)
    {
        m_folder = folder;
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder);
    }

    /// Locks the folder of the user defaults as another program does. Returns the descriptor to close.
    int lockFolder() const
    {
        const QByteArray folder = QFile::encodeName(QFileInfo(file()).path());
        const int lock = open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        return flock(lock, LOCK_EX) == 0 ? lock : -1;
    }

    QString file() const { return m_folder + u"/Nelo/TestApiKeyStore.conf"_s; }

    Fresh<TestHome> m_home{this};
    QString m_folder;
};

QTEST_GUILESS_MAIN(TestApiKeyStore)
#include "TestApiKeyStore.moc"
