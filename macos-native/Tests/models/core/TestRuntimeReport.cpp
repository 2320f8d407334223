#include "models/core/RuntimeReport.h"

#include "backend/BackendReply.h"
#include "support/Warnings.h"

#include <QTest>

using namespace Qt::StringLiterals;

/// What the Runtime tab says of a reply.
class TestRuntimeReport final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void aReportHasSevenLines_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QStringList>("firstSixLines");
        const auto lines = [](const char* os, const char* installed, const char* binary, const char* version,
                              const char* app, const char* config) {
            return QStringList{QString::fromUtf8(os),      QString::fromUtf8(installed), QString::fromUtf8(binary),
                               QString::fromUtf8(version), QString::fromUtf8(app),       QString::fromUtf8(config)};
        };

        QTest::newRow("all keys") << QByteArray(
            R"({"os":"Debian 12","installed":true,"binaryPath":"/usr/bin/openclaw","version":"1.2",)"
            R"("appExists":true,"appPath":"/Apps/OpenClaw","configExists":true,"configPath":"/c.json"})")
                                  << lines("OS: Debian 12", "Installed: yes", "Binary: /usr/bin/openclaw",
                                           "Version: 1.2", "App: yes (/Apps/OpenClaw)", "Config: yes (/c.json)");
        QTest::newRow("no application and no path to one")
            << QByteArray(R"({"os":"x","installed":true,"binaryPath":"/b","version":"1","appExists":false,)"
                          R"("configExists":false,"configPath":"/c"})")
            << lines("OS: x", "Installed: yes", "Binary: /b", "Version: 1", "App: no ()", "Config: no (/c)");
        QTest::newRow("only installed, and false") << QByteArray(R"({"installed":false})")
                                                   << lines("OS: ", "Installed: no", "Binary: (not found)",
                                                            "Version: (unknown)", "App: no ()", "Config: no ()");
        QTest::newRow("the text yes is no boolean")
            << QByteArray(R"({"installed":"yes","appExists":"true","configExists":1})")
            << lines("OS: ", "Installed: no", "Binary: (not found)", "Version: (unknown)", "App: no ()",
                     "Config: no ()");
        QTest::newRow("null is described, not taken for absent")
            << QByteArray(R"({"os":null,"binaryPath":null,"version":null,"appPath":null,"configPath":null})")
            << lines("OS: <null>", "Installed: no", "Binary: <null>", "Version: <null>", "App: no (<null>)",
                     "Config: no (<null>)");
        QTest::newRow("values of other types are described")
            << QByteArray(R"({"os":["a"],"binaryPath":{"p":1},"version":2.5,"appPath":true,"configPath":7})")
            << lines("OS: [\"a\"]", "Installed: no", "Binary: {\"p\":1}", "Version: 2.5", "App: no (1)",
                     "Config: no (7)");
        QTest::newRow("unknown keys alone make a report") << QByteArray(R"({"other":1})")
                                                          << lines("OS: ", "Installed: no", "Binary: (not found)",
                                                                   "Version: (unknown)", "App: no ()", "Config: no ()");
    }

    void aReportHasSevenLines()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QStringList, firstSixLines);
        const RuntimeReport report = runtimeReport(BackendReply(reply.toStdString()));
        const QString installer = u"Script installer: mac/linux -> install.sh, windows -> install.cmd"_s;
        QCOMPARE(report.summary.split(u'\n'), firstSixLines + QStringList{installer});
        QCOMPARE(report.status, u"Runtime status refreshed."_s);
    }

    void failuresSayWhy_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QString>("summary");
        const QString unavailable = u"Runtime status unavailable."_s;
        QTest::newRow("an error shows itself")
            << "ERROR: backend helper terminated"_ba << u"ERROR: backend helper terminated"_s;
        QTest::newRow("an empty object") << "{}"_ba << unavailable;
        QTest::newRow("a list") << QByteArray(R"([{"os":"x"}])") << unavailable;
        QTest::newRow("null") << "null"_ba << unavailable;
        QTest::newRow("text that is not JSON") << "{\"os\""_ba << unavailable;
        QTest::newRow("nothing") << QByteArray() << unavailable;
    }

    void failuresSayWhy()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QString, summary);
        const RuntimeReport report = runtimeReport(BackendReply(reply.toStdString()));
        QCOMPARE(report.summary, summary);
        QCOMPARE(report.status, u"Failed to refresh runtime status."_s);
    }
};

QTEST_GUILESS_MAIN(TestRuntimeReport)
#include "TestRuntimeReport.moc"
