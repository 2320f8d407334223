#include "base/ApiKeyStore.h"

#include "base/StoredKey.h"
#include "support/Files.h"
#include "support/SmallDisk.h"
#include "support/Warnings.h"
#include "support/faults/RandomKills.h"

#include <QFileInfo>
#include <QSettings>
#include <QTest>

namespace {

const QString openai = QStringLiteral("openai");
const QString kimi = QStringLiteral("kimi");

} // namespace

/// Saving a key in programs that are killed.
class TestApiKeyKills final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        QCoreApplication::setOrganizationName(QStringLiteral("Nelo"));
        QCoreApplication::setApplicationName(QStringLiteral("TestApiKeyKills"));
    }

    void theKeysAreWholeAfterEveryKill()
    {
        const SmallDisk disk;
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, disk.path());
        const QString file = disk.path(QStringLiteral("Nelo/TestApiKeyKills.conf"));
        const auto keyOfRound = [](int round) { return QString(100 + round % 50 * 100, QLatin1Char('k')); };
        QCOMPARE(ApiKeyStore().setKeys({{kimi, QStringLiteral("earlier")}}), std::nullopt);
        RandomKills random;
        for (int kill = 0; kill < 200; ++kill) {
            QVERIFY(random.during([&](int round) { return !ApiKeyStore().setKeys({{openai, keyOfRound(round)}}); }));
            const qsizetype length = storedKey(file, openai).size();
            QVERIFY2(length >= 100 && length % 100 == 0, qPrintable(QString::number(length)));
            QCOMPARE(storedKey(file, kimi), QStringLiteral("earlier"));

            QCOMPARE(ApiKeyStore().setKeys({{openai, keyOfRound(1)}}), std::nullopt); // as the next start does
            QCOMPARE(ApiKeyStore().key(openai), keyOfRound(1));
            QCOMPARE(Files::names(QFileInfo(file).path()), QStringList{QFileInfo(file).fileName()});
        }
    }
};

int main(int argc, char** argv)
{
    SmallDisk::allowMounts();
    QCoreApplication application(argc, argv);
    TestApiKeyKills test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestApiKeyKills.moc"
