#include "base/ApiKeyStore.h"

#include "base/StoredKey.h"
#include "support/Files.h"
#include "support/ProcessTable.h"
#include "support/TestHome.h"
#include "support/Warnings.h"
#include "support/faults/EveryFault.h"

#include <QFileInfo>
#include <QSettings>
#include <QTest>

namespace {

const QString openai = QStringLiteral("openai");
const QString kimi = QStringLiteral("kimi");

/// A home whose user defaults are found in it.
struct HomeWithDefaults
{
    HomeWithDefaults() { QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder); }

    TestHome home;
    QString folder = home.path(QStringLiteral(".config"));
    QString file = folder + QStringLiteral("/Nelo/TestApiKeyFaults.conf");
};

} // namespace

/// Saving a key while one call after the other fails.
class TestApiKeyFaults final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        QCoreApplication::setOrganizationName(QStringLiteral("Nelo"));
        QCoreApplication::setApplicationName(QStringLiteral("TestApiKeyFaults"));
    }

    void theEarlierKeysStayOrTheNewOneIsThere_data() { addRowsOfFileFaults(); }

    void theEarlierKeysStayOrTheNewOneIsThere()
    {
        QFETCH(Fault, fault);
        const QString earlier(500, QLatin1Char('e'));
        const QString later(9'000, QLatin1Char('n'));
        EveryFault faults(fault);
        while (faults.next()) {
            const HomeWithDefaults defaults;
            QCOMPARE(ApiKeyStore().setKeys({{kimi, earlier}}), std::nullopt);
            QCOMPARE(ApiKeyStore().setKeys({{openai, earlier}}), std::nullopt);
            const int descriptors = ProcessTable::openDescriptors();
            bool isStored = false;
            faults.during([&] { isStored = !ApiKeyStore().setKeys({{openai, later}}); });

            QVERIFY(isStored || faults.mayHaveFailed());
            QCOMPARE(storedKey(defaults.file, openai), isStored ? later : earlier);
            QCOMPARE(storedKey(defaults.file, kimi), earlier);
            QCOMPARE(ApiKeyStore().key(openai), isStored ? later : earlier);
            QCOMPARE(Files::names(QFileInfo(defaults.file).path()), QStringList{QFileInfo(defaults.file).fileName()});
            QCOMPARE(ProcessTable::openDescriptors(), descriptors);
            QCOMPARE(ApiKeyStore().setKeys({{openai, later}}), std::nullopt);
            QCOMPARE(storedKey(defaults.file, openai), later);
        }
        QVERIFY(faults.strikes() > 0);
    }

    void theFirstKeyIsThereOrNone_data() { addRowsOfFileFaults(); }

    void theFirstKeyIsThereOrNone()
    {
        QFETCH(Fault, fault);
        const QString key = QStringLiteral("sk-first");
        EveryFault faults(fault);
        while (faults.next()) {
            const HomeWithDefaults defaults;
            bool isStored = false;
            faults.during([&] { isStored = !ApiKeyStore().setKeys({{openai, key}}); });

            QVERIFY(isStored || faults.mayHaveFailed());
            QCOMPARE(ApiKeyStore().key(openai), isStored ? key : QString());
            QCOMPARE(ApiKeyStore().setKeys({{openai, key}}), std::nullopt);
            QCOMPARE(storedKey(defaults.file, openai), key);
            QCOMPARE(Files::mode(defaults.file), 0600);
        }
        QVERIFY(faults.strikes() > 0);
    }
};

QTEST_GUILESS_MAIN(TestApiKeyFaults)
#include "TestApiKeyFaults.moc"
