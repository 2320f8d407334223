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
        QVERIFY(ApiKeyStore().setKey(openai, key));
        QCOMPARE(ApiKeyStore().key(openai), key);
        QCOMPARE(storedKey(file(), openai), key);
    }

    void eachProviderHasItsOwn()
    {
        ApiKeyStore store;
        QVERIFY(store.setKey(openai, QStringLiteral("one")));
        QVERIFY(store.setKey(kimi, QStringLiteral("two")));
        QVERIFY(store.setKey(openai, QStringLiteral("three")));
        QCOMPARE(store.key(openai), QStringLiteral("three"));
        QCOMPARE(store.key(kimi), QStringLiteral("two"));
        QCOMPARE(store.key(QStringLiteral("deepseek")), QString());
    }

    void otherUserDefaultsAreKept()
    {
        QSettings().setValue(QStringLiteral("other"), 7);
        QVERIFY(ApiKeyStore().setKey(openai, QStringLiteral("one")));
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
        QVERIFY(ApiKeyStore().setKey(openai, QStringLiteral("one")));
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
        QVERIFY(store.setKey(openai, QStringLiteral("two")));
        QCOMPARE(Files::mode(file()), 0600);
    }

    void aLinkToTheFileStaysOne()
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

    void aReadOnlyDiskIsToldAndKeepsTheEarlierKey()
    {
        const SmallDisk disk;
        keepDefaultsIn(disk.path());
        QVERIFY(ApiKeyStore().setKey(openai, QStringLiteral("earlier")));
        disk.makeReadOnly();
        QVERIFY(!ApiKeyStore().setKey(openai, QStringLiteral("new")));
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
        QVERIFY(ApiKeyStore().setKey(openai, earlier));
        disk.fill(freePages * 4096);
        QVERIFY(!ApiKeyStore().setKey(openai, QString(20'000, QLatin1Char('n'))));
        QCOMPARE(storedKey(file(), openai), earlier);
        QCOMPARE(ApiKeyStore().key(openai), earlier);

        disk.empty();
        QVERIFY(ApiKeyStore().setKey(openai, QStringLiteral("new")));
        QCOMPARE(storedKey(file(), openai), QStringLiteral("new"));
    }

    void aFolderInPlaceOfTheFileIsTold()
    {
        QVERIFY(QDir().mkpath(file()));
        QVERIFY(!ApiKeyStore().setKey(openai, QStringLiteral("one")));
        QCOMPARE(ApiKeyStore().key(openai), QString());
    }

    void aKeyOfTheSameLengthInTheSameInstantIsSeen()
    {
        const SmallDisk disk;
        keepDefaultsIn(disk.path());
        for (int round = 0; round < 50; ++round) {
            const QString key = QString::number(1000 + round);
            QVERIFY(ApiKeyStore().setKey(openai, key));
            QCOMPARE(ApiKeyStore().key(openai), key);
        }
    }

    void keysThatAreStoredAtOnceAreAllKept()
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

    void aSignalDoesNotEndTheWaitForAnotherProgram()
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

    void theLockOfAKilledProgramKeepsNobodyWaiting()
    {
        QVERIFY(ApiKeyStore().setKey(openai, QStringLiteral("one")));
        Files::create(file() + QStringLiteral(".lock"), ""); // begun by QSettings, and no process id in it yet
        QElapsedTimer timer;
        timer.start();
        QVERIFY(ApiKeyStore().setKey(openai, QStringLiteral("two")));
        QVERIFY(timer.elapsed() < 10'000);
    }

private:
    void keepDefaultsIn(const QString& folder)
    {
        m_folder = folder;
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder);
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
