#include "base/ApiKeyStore.h"

#include "support/Files.h"
#include "support/Interruption.h"
#include "support/SmallDisk.h"
#include "support/TestHome.h"
#include "support/Warnings.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSettings>
#include <QTest>

#include <atomic>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

/// API keys in the user defaults.
class TestApiKeyStore final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void anAbsentKeyIsEmpty();
    void keysAreKeptExactly_data();
    void keysAreKeptExactly();
    void eachProviderHasItsOwn();
    void otherUserDefaultsAreKept();
    void aKeyOfAnotherApplicationIsNotOurs();
    void theDefaultsHoldTheKeyUnderItsDottedName();
    void theFileIsPrivateFromItsFirstByte_data();
    void theFileIsPrivateFromItsFirstByte();
    void aFileThatOthersMayReadIsMadePrivate_data();
    void aFileThatOthersMayReadIsMadePrivate();
    void aLinkToTheFileStaysOne();
    void aReadOnlyDiskIsToldAndKeepsTheEarlierKey();
    void aFullDiskIsToldAndKeepsTheEarlierKey_data();
    void aFullDiskIsToldAndKeepsTheEarlierKey();
    void aFolderInPlaceOfTheFileIsTold();
    void aKeyOfTheSameLengthInTheSameInstantIsSeen();
    void keysThatAreStoredAtOnceAreAllKept();
    void aSignalDoesNotEndTheWaitForAnotherProgram();
    void theLockOfAKilledProgramKeepsNobodyWaiting();

private:
    void keepDefaultsIn(const QString& folder);
    QString file() const { return m_folder + QStringLiteral("/Nelo/TestApiKeyStore.conf"); }

    std::unique_ptr<TestHome> m_home;
    QString m_folder;
};

namespace {

const QString openai = QStringLiteral("openai");
const QString kimi = QStringLiteral("kimi");

/// The key as a program that starts now finds it in the file; in this one `QSettings` remembers.
QString storedKey(const QString& path, const QString& provider)
{
    const QTemporaryDir folder;
    const QString copy = folder.filePath(QStringLiteral("copy.conf"));
    QFile::copy(path, copy);
    const QSettings settings(copy, QSettings::IniFormat);
    return settings.value(QStringLiteral("nelo.menubar.apiKey.") + provider).toString();
}

} // namespace

void TestApiKeyStore::init()
{
    failOnUnexpectedWarning();
    QCoreApplication::setOrganizationName(QStringLiteral("Nelo"));
    QCoreApplication::setApplicationName(QStringLiteral("TestApiKeyStore"));
    m_home = std::make_unique<TestHome>();
    keepDefaultsIn(m_home->path(QStringLiteral(".config")));
}

void TestApiKeyStore::cleanup()
{
    m_home.reset();
}

void TestApiKeyStore::keepDefaultsIn(const QString& folder)
{
    m_folder = folder;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder);
}

void TestApiKeyStore::anAbsentKeyIsEmpty()
{
    QCOMPARE(ApiKeyStore().key(openai), QString());
    QVERIFY(!QFileInfo::exists(file())); // looking leaves nothing
}

void TestApiKeyStore::keysAreKeptExactly_data()
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

void TestApiKeyStore::keysAreKeptExactly()
{
    QFETCH(QString, key);
    QVERIFY(ApiKeyStore().setKey(openai, key));
    QCOMPARE(ApiKeyStore().key(openai), key);
    QCOMPARE(storedKey(file(), openai), key);
}

void TestApiKeyStore::eachProviderHasItsOwn()
{
    ApiKeyStore store;
    QVERIFY(store.setKey(openai, QStringLiteral("one")));
    QVERIFY(store.setKey(kimi, QStringLiteral("two")));
    QVERIFY(store.setKey(openai, QStringLiteral("three")));
    QCOMPARE(store.key(openai), QStringLiteral("three"));
    QCOMPARE(store.key(kimi), QStringLiteral("two"));
    QCOMPARE(store.key(QStringLiteral("deepseek")), QString());
}

void TestApiKeyStore::otherUserDefaultsAreKept()
{
    QSettings().setValue(QStringLiteral("other"), 7);
    QVERIFY(ApiKeyStore().setKey(openai, QStringLiteral("one")));
    QCOMPARE(QSettings().value(QStringLiteral("other")).toInt(), 7);
}

void TestApiKeyStore::aKeyOfAnotherApplicationIsNotOurs()
{
    QSettings ofTheOrganization(QSettings::UserScope, QStringLiteral("Nelo"));
    ofTheOrganization.setValue(QStringLiteral("nelo.menubar.apiKey.openai"), QStringLiteral("theirs"));
    ofTheOrganization.sync();
    QCOMPARE(QSettings().value(QStringLiteral("nelo.menubar.apiKey.openai")).toString(), QStringLiteral("theirs"));
    QCOMPARE(ApiKeyStore().key(openai), QString());
}

void TestApiKeyStore::theDefaultsHoldTheKeyUnderItsDottedName()
{
    QVERIFY(ApiKeyStore().setKey(openai, QStringLiteral("one")));
    QVERIFY(Files::contentOf(file()).contains("\nnelo.menubar.apiKey.openai=one\n"));
}

void TestApiKeyStore::theFileIsPrivateFromItsFirstByte_data()
{
    QTest::addColumn<int>("umaskBits");
    QTest::newRow("under the usual umask") << 022;
    QTest::newRow("under no umask") << 0;
}

void TestApiKeyStore::theFileIsPrivateFromItsFirstByte()
{
    QFETCH(int, umaskBits);
    const mode_t before = umask(static_cast<mode_t>(umaskBits));
    ApiKeyStore store;
    const bool first = store.setKey(openai, QStringLiteral("one"));
    const int firstMode = Files::mode(file());
    const bool second = store.setKey(openai, QStringLiteral("two"));
    umask(before);
    QVERIFY(first && second);
    QCOMPARE(firstMode, 0600);
    QCOMPARE(Files::mode(file()), 0600);
    // Nothing else lies there, and so nothing that others could have read.
    QCOMPARE(Files::names(m_folder + QStringLiteral("/Nelo")), QStringList{QStringLiteral("TestApiKeyStore.conf")});
}

void TestApiKeyStore::aFileThatOthersMayReadIsMadePrivate_data()
{
    QTest::addColumn<bool>("onlyLooked");
    QTest::newRow("before anything is written") << true;
    QTest::newRow("when it loosened in the meantime") << false;
}

void TestApiKeyStore::aFileThatOthersMayReadIsMadePrivate()
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
    QVERIFY(store.setKey(openai, QStringLiteral("two")));
    QCOMPARE(Files::mode(file()), 0600);
}

void TestApiKeyStore::aLinkToTheFileStaysOne()
{
    const QString real = m_home->path(QStringLiteral("real.conf"));
    Files::create(real, "");
    QVERIFY(QDir().mkpath(QFileInfo(file()).path()));
    QVERIFY(QFile::link(real, file()));
    QVERIFY(ApiKeyStore().setKey(openai, QStringLiteral("one")));
    QVERIFY(QFileInfo(file()).isSymLink());
    QCOMPARE(storedKey(real, openai), QStringLiteral("one"));
    QCOMPARE(Files::mode(real), 0600);
}

void TestApiKeyStore::aReadOnlyDiskIsToldAndKeepsTheEarlierKey()
{
    const SmallDisk disk;
    keepDefaultsIn(disk.path());
    QVERIFY(ApiKeyStore().setKey(openai, QStringLiteral("earlier")));
    disk.makeReadOnly();
    QVERIFY(!ApiKeyStore().setKey(openai, QStringLiteral("new")));
    QCOMPARE(storedKey(file(), openai), QStringLiteral("earlier"));
}

void TestApiKeyStore::aFullDiskIsToldAndKeepsTheEarlierKey_data()
{
    QTest::addColumn<qint64>("freePages");
    for (qint64 pages = 0; pages <= 4; ++pages)
        QTest::addRow("%lld free pages", static_cast<long long>(pages)) << pages;
}

void TestApiKeyStore::aFullDiskIsToldAndKeepsTheEarlierKey()
{
    QFETCH(qint64, freePages);
    const SmallDisk disk;
    keepDefaultsIn(disk.path());
    const QString earlier(9'000, QLatin1Char('e'));
    QVERIFY(ApiKeyStore().setKey(openai, earlier));
    disk.fill(freePages * 4096);
    QVERIFY(!ApiKeyStore().setKey(openai, QString(20'000, QLatin1Char('n'))));
    QCOMPARE(storedKey(file(), openai), earlier);
    QCOMPARE(ApiKeyStore().key(openai), earlier);

    disk.empty();
    QVERIFY(ApiKeyStore().setKey(openai, QStringLiteral("new")));
    QCOMPARE(storedKey(file(), openai), QStringLiteral("new"));
}

void TestApiKeyStore::aFolderInPlaceOfTheFileIsTold()
{
    QVERIFY(QDir().mkpath(file()));
    QVERIFY(!ApiKeyStore().setKey(openai, QStringLiteral("one")));
    QCOMPARE(ApiKeyStore().key(openai), QString());
}

void TestApiKeyStore::aKeyOfTheSameLengthInTheSameInstantIsSeen()
{
    const SmallDisk disk;
    keepDefaultsIn(disk.path());
    for (int round = 0; round < 50; ++round) {
        const QString key = QString::number(1000 + round);
        QVERIFY(ApiKeyStore().setKey(openai, key));
        QCOMPARE(ApiKeyStore().key(openai), key);
    }
}

void TestApiKeyStore::keysThatAreStoredAtOnceAreAllKept()
{
    constexpr int count = 20;
    const auto storeAll = [](const QString& name) {
        for (int number = 0; number < count; ++number)
            QVERIFY(ApiKeyStore().setKey(name + QString::number(number), name));
    };
    std::thread other(storeAll, QStringLiteral("one"));
    storeAll(QStringLiteral("two"));
    other.join();
    for (int number = 0; number < count; ++number) {
        for (const QString& name : {QStringLiteral("one"), QStringLiteral("two")})
            QCOMPARE(storedKey(file(), name + QString::number(number)), name);
    }
}

void TestApiKeyStore::aSignalDoesNotEndTheWaitForAnotherProgram()
{
    QVERIFY(ApiKeyStore().setKey(openai, QStringLiteral("one")));
    const QByteArray folder = QFile::encodeName(QFileInfo(file()).path());
    const int lock = open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    QCOMPARE(flock(lock, LOCK_EX), 0);

    const pid_t writer = gettid();
    std::atomic<bool> isFree = false;
    std::thread other([&isFree, writer, lock] {
        Interruption().strike(writer);
        isFree = true;
        close(lock);
    });
    const bool isStored = ApiKeyStore().setKey(openai, QStringLiteral("two"));
    const bool hasWaited = isFree;
    other.join();
    QVERIFY(isStored);
    QVERIFY(hasWaited);
    QCOMPARE(ApiKeyStore().key(openai), QStringLiteral("two"));
}

void TestApiKeyStore::theLockOfAKilledProgramKeepsNobodyWaiting()
{
    QVERIFY(ApiKeyStore().setKey(openai, QStringLiteral("one")));
    Files::create(file() + QStringLiteral(".lock"), ""); // begun by QSettings, and no process id in it yet
    QElapsedTimer timer;
    timer.start();
    QVERIFY(ApiKeyStore().setKey(openai, QStringLiteral("two")));
    QVERIFY(timer.elapsed() < 10'000);
}

int main(int argc, char** argv)
{
    SmallDisk::allowMounts();
    QCoreApplication application(argc, argv);
    TestApiKeyStore test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestApiKeyStore.moc"
