#include "platform/BaseFolders.h"

#include <QTest>

class TestBaseFolders final : public QObject
{
    Q_OBJECT

private slots:
    void onlyAbsoluteFoldersCount_data()
    {
        QTest::addColumn<QByteArray>("name");
        for (const char* name :
             {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME", "XDG_RUNTIME_DIR"})
            QTest::newRow(name) << QByteArray(name);
    }

    void onlyAbsoluteFoldersCount()
    {
        QFETCH(QByteArray, name);
        for (const char* folder : {"relative", ".", "../relative", ""}) {
            qputenv(name, folder);
            ignoreRelativeBaseFolders();
            QVERIFY2(!qEnvironmentVariableIsSet(name), folder);
        }
        qputenv(name, "/absolute");
        ignoreRelativeBaseFolders();
        QCOMPARE(qgetenv(name), QByteArray("/absolute"));
        qunsetenv(name);
    }

    void missingFoldersStayMissing()
    {
        qunsetenv("XDG_CONFIG_HOME");
        ignoreRelativeBaseFolders();
        QVERIFY(!qEnvironmentVariableIsSet("XDG_CONFIG_HOME"));
    }
};

QTEST_APPLESS_MAIN(TestBaseFolders)

#include "TestBaseFolders.moc"
