#include "models/core/RuntimeReport.h"

#include "backend/BackendReply.h"
#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// What the Runtime tab says of a reply.
class TestRuntimeReport final : public TestCase
{
    Q_OBJECT

private slots:
    void aReportHasSevenLines()
    {
        const QString nothingFound =
            u"OS: |Installed: no|Binary: (not found)|Version: (unknown)|App: no ()|Config: no ()"_s;
        const CaseTable<std::string, QString> cases{
            {"all keys",
             R"({"os":"Debian 12","installed":true,"binaryPath":"/usr/bin/openclaw","version":"1.2",)"
             R"("appExists":true,"appPath":"/Apps/OpenClaw","configExists":true,"configPath":"/c.json"})",
             u"OS: Debian 12|Installed: yes|Binary: /usr/bin/openclaw|Version: 1.2|App: yes (/Apps/OpenClaw)|"
             "Config: yes (/c.json)"_s},
            {"no application and no path to one",
             R"({"os":"x","installed":true,"binaryPath":"/b","version":"1","appExists":false,)"
             R"("configExists":false,"configPath":"/c"})",
             u"OS: x|Installed: yes|Binary: /b|Version: 1|App: no ()|Config: no (/c)"_s},
            {"only installed, and false", R"({"installed":false})", nothingFound},
            {"the text yes is no boolean", R"({"installed":"yes","appExists":"true","configExists":1})", nothingFound},
            {"null is described, not taken for absent",
             R"({"os":null,"binaryPath":null,"version":null,"appPath":null,"configPath":null})",
             u"OS: <null>|Installed: no|Binary: <null>|Version: <null>|App: no (<null>)|Config: no (<null>)"_s},
            {"values of other types are described",
             R"({"os":["a"],"binaryPath":{"p":1},"version":2.5,"appPath":true,"configPath":7})",
             u"OS: [\"a\"]|Installed: no|Binary: {\"p\":1}|Version: 2.5|App: no (1)|Config: no (7)"_s},
            {"unknown keys alone make a report", R"({"other":1})", nothingFound},
        };
        for (const auto& [reply, firstSixLines] : cases) {
            const RuntimeReport report = runtimeReport(BackendReply(reply));
            QCOMPARE(report.summary.split(u'\n').join(u'|'),
                     firstSixLines + u"|Script installer: mac/linux -> install.sh, windows -> install.cmd"_s);
            QCOMPARE(report.status, u"Runtime status refreshed."_s);
        }
    }

    void failuresSayWhy()
    {
        const QString unavailable = u"Runtime status unavailable."_s;
        const CaseTable<std::string, QString> cases{
            {"an error shows itself", "ERROR: backend helper terminated", u"ERROR: backend helper terminated"_s},
            {"an empty object", "{}", unavailable},
            {"a list", R"([{"os":"x"}])", unavailable},
            {"null", "null", unavailable},
            {"text that is not JSON", "{\"os\"", unavailable},
            {"nothing", "", unavailable},
        };
        for (const auto& [reply, summary] : cases) {
            const RuntimeReport report = runtimeReport(BackendReply(reply));
            QCOMPARE(report.summary, summary);
            QCOMPARE(report.status, u"Failed to refresh runtime status."_s);
        }
    }
};

QTEST_GUILESS_MAIN(TestRuntimeReport)
#include "TestRuntimeReport.moc"
