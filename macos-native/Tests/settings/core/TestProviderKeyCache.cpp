#include "settings/core/ProviderKeyCache.h"

#include "support/Warnings.h"

#include <QTest>

namespace {

const QString openai = QStringLiteral("openai");
const QString kimi = QStringLiteral("kimi");

} // namespace

/// Which key a provider has.
class TestProviderKeyCache final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void startsEmpty()
    {
        const ProviderKeyCache cache;
        QVERIFY(cache.keys().isEmpty());
        QCOMPARE(cache.key(openai), QString());
    }

    void theDocumentsKeyWinsForItsProvider()
    {
        const ProviderKeyCache cache({{openai, QStringLiteral("a")}, {kimi, QStringLiteral("b")}}, kimi,
                                     QStringLiteral("c"));
        QCOMPARE(cache.key(openai), QStringLiteral("a"));
        QCOMPARE(cache.key(kimi), QStringLiteral("c"));
    }

    void anEmptyDocumentKeyLeavesTheStoredOne()
    {
        const ProviderKeyCache cache({{kimi, QStringLiteral("b")}}, kimi, QString());
        QCOMPARE(cache.key(kimi), QStringLiteral("b"));
    }

    void takesWhatWasTypedTrimmed_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("key");
        QTest::newRow("a key") << QStringLiteral("sk-1") << QStringLiteral("sk-1");
        QTest::newRow("white space and line breaks around it")
            << QStringLiteral(" \r\n\tsk-1\n ") << QStringLiteral("sk-1");
        QTest::newRow("a line break within it stays") << QStringLiteral("sk\n1") << QStringLiteral("sk\n1");
        QTest::newRow("white space only") << QStringLiteral(" \n") << QString();
    }

    void takesWhatWasTypedTrimmed()
    {
        QFETCH(QString, typed);
        QFETCH(QString, key);
        ProviderKeyCache cache({{openai, QStringLiteral("old")}, {kimi, QStringLiteral("b")}}, openai, QString());
        cache.take(openai, typed);
        QCOMPARE(cache.key(openai), key);
        QCOMPARE(cache.key(kimi), QStringLiteral("b"));
    }

    void anEmptyKeyIsAKey()
    {
        ProviderKeyCache cache;
        cache.take(kimi, QString());
        QCOMPARE(cache.keys(), (QMap<QString, QString>{{kimi, QString()}}));
    }
};

QTEST_GUILESS_MAIN(TestProviderKeyCache)
#include "TestProviderKeyCache.moc"
