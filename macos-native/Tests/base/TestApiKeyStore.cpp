#include "base/ApiKeyStore.h"

#include "base/StoredKey.h"
#include "support/Files.h"
#include "support/SmallDisk.h"
#include "support/TestHome.h"
#include "support/Warnings.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTest>

#include <atomic>
#include <chrono>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString openai = QStringLiteral("openai");
const QString kimi = QStringLiteral("kimi");

} // namespace

/// API keys in the user defaults.
class TestApiKeyStore final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        QCoreApplication::setOrganizationName(QStringLiteral("Nelo"));
        QCoreApplication::setApplicationName(QStringLiteral("TestApiKeyStore"));
        m_home = std::make_unique<TestHome>();
        keepDefaultsIn(m_home->path(QStringLiteral(".config")));
    }

    void cleanup() { m_home.reset(); }

    void anAbsentKeyIsEmpty()
    {
        QCOMPARE(ApiKeyStore().key(openai), QString());
        QVERIFY(!QFileInfo::exists(file())); // looking leaves nothing
    }

    void keysAreKeptExactly_data()
    {
        QTest::addColumn<QString>("key");
        QTest::newRow("a key as providers give it") << QStringLiteral("sk-proj-abc_DEF-0123456789");
        QTest::newRow("an empty key") << QString();
        QTest::newRow("blanks, also around it") << QStringLiteral("  a key \t");
        QTest::newRow("line breaks") << QStringLiteral("first\nsecond\r\n");
        QTest::newRow("10,000 characters") << QString(10'000, QLatin1Char('k'));
        QTest::newRow("Chinese") << QStringLiteral("密钥");
        QTest::newRow("an emoji") << QStringLiteral("🔑");
        QTest::newRow("a zero character") << QStringLiteral("a") + QChar(0) + QStringLiteral("b");
        QTest::newRow("a list's comma") << QStringLiteral("a, b");
        QTest::newRow("the file format's own signs") << QStringLiteral("; # = [General] \"\\x41\" %41");
        QTest::newRow("the mark of other types") << QStringLiteral("@ByteArray(x)");
        QTest::newRow("the mark of no value") << QStringLiteral("@Invalid()");
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
        QCOMPARE(store.setKeys({{openai, QStringLiteral("one")}, {kimi, QStringLiteral("two")}}), std::nullopt);
        QCOMPARE(store.setKeys({{openai, QStringLiteral("three")}}), std::nullopt);
        QCOMPARE(store.key(openai), QStringLiteral("three"));
        QCOMPARE(store.key(kimi), QStringLiteral("two"));
        QCOMPARE(store.key(QStringLiteral("deepseek")), QString());
    }

    void otherUserDefaultsAreKept()
    {
        QSettings().setValue(QStringLiteral("other"), 7);
        QCOMPARE(ApiKeyStore().setKeys({{openai, QStringLiteral("one")}}), std::nullopt);
        QCOMPARE(QSettings().value(QStringLiteral("other")).toInt(), 7);
    }

    void aKeyOfAnotherApplicationIsNotOurs()
    {
        QSettings ofTheOrganization(QSettings::UserScope, QStringLiteral("Nelo"));
        ofTheOrganization.setValue(QStringLiteral("nelo.menubar.apiKey.openai"), QStringLiteral("theirs"));
        ofTheOrganization.sync();
        QCOMPARE(QSettings().value(QStringLiteral("nelo.menubar.apiKey.openai")).toString(), QStringLiteral("theirs"));
        QCOMPARE(ApiKeyStore().key(openai), QString());
    }

    void theDefaultsHoldTheKeyUnderItsDottedName()
    {
        QCOMPARE(ApiKeyStore().setKeys({{openai, QStringLiteral("one")}}), std::nullopt);
        QVERIFY(Files::contentOf(file()).contains("\nnelo.menubar.apiKey.openai=one\n"));
    }

    void theFileIsPrivateFromItsFirstByte_data()
    {
        QTest::addColumn<int>("umaskBits");
        QTest::newRow("under the usual umask") << 022;
        QTest::newRow("under no umask") << 0;
    }

    void theFileIsPrivateFromItsFirstByte()
    {
        QFETCH(int, umaskBits);
        const mode_t before = umask(static_cast<mode_t>(umaskBits));
        ApiKeyStore store;
        const bool first = !store.setKeys({{openai, QStringLiteral("one")}});
        const int firstMode = Files::mode(file());
        const bool second = !store.setKeys({{openai, QStringLiteral("two")}});
        umask(before);
        QVERIFY(first && second);
        QCOMPARE(firstMode, 0600);
        QCOMPARE(Files::mode(file()), 0600);
        // Nothing else lies there, and so nothing that others could have read.
        QCOMPARE(Files::names(m_folder + QStringLiteral("/Nelo")), QStringList{QStringLiteral("TestApiKeyStore.conf")});
    }

    void aFileThatOthersMayReadIsMadePrivate_data()
    {
        QTest::addColumn<bool>("onlyLooked");
        QTest::newRow("before anything is written") << true;
        QTest::newRow("when it loosened in the meantime") << false;
    }

    void aFileThatOthersMayReadIsMadePrivate()
    {
        QFETCH(bool, onlyLooked);
        Files::create(file(), "[General]\nnelo.menubar.apiKey.openai=one\n");
        chmod(QFile::encodeName(file()).constData(), 0644);
        ApiKeyStore store;
        QCOMPARE(store.key(openai), QStringLiteral("one"));
        QCOMPARE(Files::mode(file()), 0600);
        if (onlyLooked)
            return;
        chmod(QFile::encodeName(file()).constData(), 0644);
        QCOMPARE(store.setKeys({{openai, QStringLiteral("two")}}), std::nullopt);
        QCOMPARE(Files::mode(file()), 0600);
    }

    void aLinkToTheFileStaysOne()
    {
        const QString real = m_home->path(QStringLiteral("real.conf"));
        Files::create(real, "");
        QVERIFY(QDir().mkpath(QFileInfo(file()).path()));
        QVERIFY(QFile::link(real, file()));
        QCOMPARE(ApiKeyStore().setKeys({{openai, QStringLiteral("one")}}), std::nullopt);
        QVERIFY(QFileInfo(file()).isSymLink());
        QCOMPARE(storedKey(real, openai), QStringLiteral("one"));
        QCOMPARE(Files::mode(real), 0600);
    }

    void aReadOnlyDiskIsToldAndKeepsTheEarlierKey()
    {
        const SmallDisk disk;
        keepDefaultsIn(disk.path());
        QCOMPARE(ApiKeyStore().setKeys({{openai, QStringLiteral("earlier")}}), std::nullopt);
        disk.makeReadOnly();
        QVERIFY(ApiKeyStore().setKeys({{openai, QStringLiteral("new")}}));
        QCOMPARE(storedKey(file(), openai), QStringLiteral("earlier"));
    }

    void aFullDiskIsToldAndKeepsTheEarlierKey_data()
    {
        QTest::addColumn<qint64>("freePages");
        for (qint64 pages = 0; pages <= 4; ++pages)
            QTest::addRow("%lld free pages", static_cast<long long>(pages)) << pages;
    }

    void aFullDiskIsToldAndKeepsTheEarlierKey()
    {
        QFETCH(qint64, freePages);
        const SmallDisk disk;
        keepDefaultsIn(disk.path());
        const QString earlier(9'000, QLatin1Char('e'));
        QCOMPARE(ApiKeyStore().setKeys({{openai, earlier}}), std::nullopt);
        disk.fill(freePages * 4096);
        QVERIFY(ApiKeyStore().setKeys({{openai, QString(20'000, QLatin1Char('n'))}}));
        QCOMPARE(storedKey(file(), openai), earlier);
        QCOMPARE(ApiKeyStore().key(openai), earlier);

        disk.empty();
        QCOMPARE(ApiKeyStore().setKeys({{openai, QStringLiteral("new")}}), std::nullopt);
        QCOMPARE(storedKey(file(), openai), QStringLiteral("new"));
    }

    void aFolderInPlaceOfTheFileIsTold()
    {
        QVERIFY(QDir().mkpath(file()));
        QVERIFY(ApiKeyStore().setKeys({{openai, QStringLiteral("one")}}));
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
        std::thread other(storeAll, QStringLiteral("one"));
        storeAll(QStringLiteral("two"));
        other.join();
        for (int number = 0; number < count; ++number) {
            for (const QString& name : {QStringLiteral("one"), QStringLiteral("two")})
                QCOMPARE(storedKey(file(), name + QString::number(number)), name);
        }
    }

    void aLockThatIsReleasedIsWaitedFor()
    {
        QCOMPARE(ApiKeyStore().setKeys({{openai, QStringLiteral("one")}}), std::nullopt);
        const int lock = lockFolder();
        std::atomic<bool> isFree = false;
        std::thread other([&isFree, lock] {
            isFree = true;
            close(lock);
        });
        const bool isStored = !ApiKeyStore(std::chrono::minutes(5)).setKeys({{openai, QStringLiteral("two")}});
        const bool hasWaited = isFree;
        other.join();
        QVERIFY(isStored && hasWaited);
        QCOMPARE(ApiKeyStore().key(openai), QStringLiteral("two"));
    }

    void aLockThatAnotherProgramKeepsIsTold()
    {
        QCOMPARE(ApiKeyStore::defaultLockTimeout, std::chrono::milliseconds(100));
        QCOMPARE(ApiKeyStore().setKeys({{openai, QStringLiteral("one")}}), std::nullopt);
        const int lock = lockFolder();
        const std::optional<QString> failure = ApiKeyStore().setKeys({{openai, QStringLiteral("two")}});
        close(lock);
        QCOMPARE(failure, QStringLiteral("another program is writing them"));
        QCOMPARE(ApiKeyStore().key(openai), QStringLiteral("one"));
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

    QString file() const { return m_folder + QStringLiteral("/Nelo/TestApiKeyStore.conf"); }

    std::unique_ptr<TestHome> m_home;
    QString m_folder;
};

int main(int argc, char** argv)
{
    SmallDisk::allowMounts();
    QCoreApplication application(argc, argv);
    TestApiKeyStore test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestApiKeyStore.moc"
