#include "skills/core/InstallReport.h"

#include "support/Warnings.h"

#include <QTest>

/// What is told of an installation.
class TestInstallReport final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void tellsTheTargetAndTheRestarts_data()
    {
        QTest::addColumn<QByteArray>("result");
        QTest::addColumn<QString>("status");
        QTest::addColumn<QString>("summary");
        QTest::newRow("no restart") << QByteArray(R"({"targetDir":"/w/skills/a"})")
                                    << QStringLiteral("Installed skill to /w/skills/a.")
                                    << QStringLiteral(
                                           "Target: /w/skills/a\nRestart: not attempted\nGateway: not attempted");
        QTest::newRow("both restarts succeeded")
            << QByteArray(R"({"targetDir":"/t","restartMethod":"launchctl","restartSucceeded":true,)"
                          R"("gatewayRestartMethod":"cli","gatewayRestartSucceeded":true})")
            << QStringLiteral("Installed skill to /t. Restart: launchctl (ok) Gateway: cli (ok)")
            << QStringLiteral("Target: /t\nRestart: launchctl (ok)\nGateway: cli (ok)");
        QTest::newRow("the gateway alone, and it failed")
            << QByteArray(R"({"targetDir":"/t","restartMethod":"","restartSucceeded":true,)"
                          R"("gatewayRestartMethod":"cli","gatewayRestartSucceeded":false})")
            << QStringLiteral("Installed skill to /t. Gateway: cli (check)")
            << QStringLiteral("Target: /t\nRestart: not attempted\nGateway: cli (check)");
        QTest::newRow("only true is a success")
            << QByteArray(R"({"targetDir":"/t","restartMethod":"a","restartSucceeded":"true",)"
                          R"("gatewayRestartMethod":"b","gatewayRestartSucceeded":1})")
            << QStringLiteral("Installed skill to /t. Restart: a (check) Gateway: b (check)")
            << QStringLiteral("Target: /t\nRestart: a (check)\nGateway: b (check)");
        QTest::newRow("no word on success") << QByteArray(R"({"targetDir":"/t","restartMethod":"a"})")
                                            << QStringLiteral("Installed skill to /t. Restart: a (check)")
                                            << QStringLiteral("Target: /t\nRestart: a (check)\nGateway: not attempted");
        QTest::newRow("nothing") << QByteArray("{}") << QStringLiteral("Installed skill to .")
                                 << QStringLiteral("Target: \nRestart: not attempted\nGateway: not attempted");
        QTest::newRow("texts of other types are described")
            << QByteArray(R"({"targetDir":["/t"],"restartMethod":7,"restartSucceeded":[true]})")
            << QStringLiteral("Installed skill to [\"/t\"]. Restart: 7 (check)")
            << QStringLiteral("Target: [\"/t\"]\nRestart: 7 (check)\nGateway: not attempted");
    }

    void tellsTheTargetAndTheRestarts()
    {
        QFETCH(QByteArray, result);
        QFETCH(QString, status);
        QFETCH(QString, summary);
        const Json object = Json::parse(result.toStdString());
        QCOMPARE(installStatus(QStringLiteral("skill"), object), status);
        QCOMPARE(installSummary(object), summary);
    }
};

QTEST_GUILESS_MAIN(TestInstallReport)
#include "TestInstallReport.moc"
