#include "models/core/RuntimeReport.h"

#include "backend/BackendReply.h"
#include "support/Cases.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// What the Runtime tab says of a reply.
class TestRuntimeReport final : public TestCase
{
    Q_OBJECT

private slots:
    void aReportHasSevenLines_data()
    {
        const Cases<QByteArray, QStringList> add("reply", "firstSixLines");

        const auto lines = [](const char* os, const char* installed, const char* binary, const char* version,
                              const char* app, const char* config) {
            return QStringList{QString::fromUtf8(os),      QString::fromUtf8(installed), QString::fromUtf8(binary),
                               QString::fromUtf8(version), QString::fromUtf8(app),       QString::fromUtf8(config)};
        };
        add("all keys",
            QByteArray(R"({"os":"Debian 12","installed":true,"binaryPath":"/usr/bin/openclaw","version":"1.2",)"
                       R"("appExists":true,"appPath":"/Apps/OpenClaw","configExists":true,"configPath":"/c.json"})"),
            lines("OS: Debian 12", "Installed: yes", "Binary: /usr/bin/openclaw", "Version: 1.2",
                  "App: yes (/Apps/OpenClaw)", "Config: yes (/c.json)"));
        add("no application and no path to one",
            QByteArray(R"({"os":"x","installed":true,"binaryPath":"/b","version":"1","appExists":false,)"
                       R"("configExists":false,"configPath":"/c"})"),
            lines("OS: x", "Installed: yes", "Binary: /b", "Version: 1", "App: no ()", "Config: no (/c)"));
        add("only installed, and false", R"({"installed":false})",
            lines("OS: ", "Installed: no", "Binary: (not found)", "Version: (unknown)", "App: no ()", "Config: no ()"));
        add("the text yes is no boolean", R"({"installed":"yes","appExists":"true","configExists":1})",
            lines("OS: ", "Installed: no", "Binary: (not found)", "Version: (unknown)", "App: no ()", "Config: no ()"));
        add("null is described, not taken for absent",
            R"({"os":null,"binaryPath":null,"version":null,"appPath":null,"configPath":null})",
            lines("OS: <null>", "Installed: no", "Binary: <null>", "Version: <null>", "App: no (<null>)",
                  "Config: no (<null>)"));
        add("values of other types are described",
            R"({"os":["a"],"binaryPath":{"p":1},"version":2.5,"appPath":true,"configPath":7})",
            lines("OS: [\"a\"]", "Installed: no", "Binary: {\"p\":1}", "Version: 2.5", "App: no (1)",
                  "Config: no (7)"));
        add("unknown keys alone make a report", R"({"other":1})",
            lines("OS: ", "Installed: no", "Binary: (not found)", "Version: (unknown)", "App: no ()", "Config: no ()"));
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
        const Cases<QByteArray, QString> add("reply", "summary");

        const QString unavailable = u"Runtime status unavailable."_s;
        add("an error shows itself", "ERROR: backend helper terminated", u"ERROR: backend helper terminated"_s);
        add("an empty object", "{}", unavailable);
        add("a list", R"([{"os":"x"}])", unavailable);
        add("null", "null", unavailable);
        add("text that is not JSON", "{\"os\"", unavailable);
        add("nothing", "", unavailable);
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
