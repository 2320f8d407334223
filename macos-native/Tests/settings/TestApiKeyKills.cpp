#include "settings/ApiKeyStore.h"

#include "support/Files.h"
#include "support/SmallDisk.h"
#include "support/Warnings.h"
#include "support/faults/RandomKills.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

/// Saving a key in programs that are killed.
class TestApiKeyKills final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void theKeysAreWholeAfterEveryKill();
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
    return QSettings(copy, QSettings::IniFormat).value(QStringLiteral("nelo.menubar.apiKey.") + provider).toString();
}

} // namespace

void TestApiKeyKills::init()
{
    failOnUnexpectedWarning();
    QCoreApplication::setOrganizationName(QStringLiteral("Nelo"));
    QCoreApplication::setApplicationName(QStringLiteral("TestApiKeyKills"));
}

void TestApiKeyKills::theKeysAreWholeAfterEveryKill()
{
    const SmallDisk disk;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, disk.path());
    const QString file = disk.path(QStringLiteral("Nelo/TestApiKeyKills.conf"));
    const auto keyOfRound = [](int round) { return QString(100 + round % 50 * 100, QLatin1Char('k')); };
    QVERIFY(ApiKeyStore().setKey(kimi, QStringLiteral("earlier")));
    RandomKills random;
    for (int kill = 0; kill < 200; ++kill) {
        QVERIFY(random.during([&](int round) { return ApiKeyStore().setKey(openai, keyOfRound(round)); }));
        const qsizetype length = storedKey(file, openai).size();
        QVERIFY2(length >= 100 && length % 100 == 0, qPrintable(QString::number(length)));
        QCOMPARE(storedKey(file, kimi), QStringLiteral("earlier"));

        QVERIFY(ApiKeyStore().setKey(openai, keyOfRound(1))); // as the next start does
        QCOMPARE(ApiKeyStore().key(openai), keyOfRound(1));
        QCOMPARE(Files::names(QFileInfo(file).path()), QStringList{QFileInfo(file).fileName()});
    }
}

int main(int argc, char** argv)
{
    SmallDisk::allowMounts();
    QCoreApplication application(argc, argv);
    TestApiKeyKills test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestApiKeyKills.moc"
