#include "base/ApiKeyStore.h"

#include "support/Files.h"
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

const QString openai = u"openai"_s;
const QString kimi = u"kimi"_s;

/// API keys in the user defaults.
class TestApiKeyStore final : public TestCase
{
    Q_OBJECT

private slots:
    void init() override
    {
        TestCase::init();
        QCoreApplication::setOrganizationName(u"Nelo"_s);
        QCoreApplication::setApplicationName(u"TestApiKeyStore"_s);
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_home->path(u".config"_s));
    }

    void anAbsentKeyIsEmpty()
    {
        QCOMPARE(ApiKeyStore().key(openai), QString());
        QVERIFY(!QFileInfo::exists(file())); // reading does not make the file
    }

    void eachProviderHasItsOwn()
    {
        ApiKeyStore store;
        const QString two = u" \"密钥\"\n"_s; // a key comes back exactly as it was stored
        QCOMPARE(store.setKeys({{openai, u"one"_s}, {kimi, two}}), std::nullopt);
        QCOMPARE(store.setKeys({{openai, u"three"_s}}), std::nullopt);
        QVERIFY(Files::contentOf(file()).contains("\nnelo.menubar.apiKey.openai=three\n"));
        QCOMPARE(store.key(openai), u"three"_s);
        QCOMPARE(store.key(kimi), two);
        QCOMPARE(store.key(u"deepseek"_s), QString());
    }

    void aKeyOfAnotherApplicationIsNotRead()
    {
        QSettings ofTheOrganization(QSettings::UserScope, u"Nelo"_s);
        ofTheOrganization.setValue(u"nelo.menubar.apiKey.openai"_s, u"theirs"_s);
        ofTheOrganization.sync();
        QCOMPARE(QSettings().value(u"nelo.menubar.apiKey.openai"_s).toString(), u"theirs"_s);
        QCOMPARE(ApiKeyStore().key(openai), QString());
    }

    void aNewFileIsPrivate()
    {
        ApiKeyStore store; // it is made before the file, so that it cannot make the file private later
        QCOMPARE(store.setKeys({{openai, u"one"_s}}), std::nullopt);
        QCOMPARE(Files::mode(file()), 0600);
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

    void aFolderInPlaceOfTheFileIsAFailure()
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
                QCOMPARE(ApiKeyStore().key(name + QString::number(number)), name);
        }
    }

    void aWriterWaitsForTheLock()
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

    void aLockThatIsNotReleasedIsAFailure()
    {
        QCOMPARE(ApiKeyStore::defaultLockTimeout, std::chrono::milliseconds(100));
        QCOMPARE(ApiKeyStore().setKeys({{openai, u"one"_s}}), std::nullopt);
        const int lock = lockFolder();
        const auto start = std::chrono::steady_clock::now();
        const std::optional<QString> failure = ApiKeyStore().setKeys({{openai, u"two"_s}});
        close(lock);
        QVERIFY(std::chrono::steady_clock::now() - start < std::chrono::seconds(3)); // with room for a busy machine
        QCOMPARE(failure, u"another program is writing them"_s);
        QCOMPARE(ApiKeyStore().key(openai), u"one"_s);
    }

private:
    /// Locks the folder of the user defaults as another program does. Returns the descriptor to close.
    int lockFolder() const
    {
        const QByteArray folder = QFile::encodeName(QFileInfo(file()).path());
        const int lock = open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        return flock(lock, LOCK_EX) == 0 ? lock : -1;
    }

    QString file() const { return m_home->path(u".config/Nelo/TestApiKeyStore.conf"_s); }

    Fresh<TestHome> m_home{this};
};

QTEST_GUILESS_MAIN(TestApiKeyStore)
#include "TestApiKeyStore.moc"
