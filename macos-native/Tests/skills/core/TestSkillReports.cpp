#include "skills/core/SkillReports.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// The texts about an installation.
class TestSkillReports final : public TestCase
{
    Q_OBJECT

private slots:
    void containsTheTargetAndTheRestarts()
    {
        const CaseTable<QByteArray, QString, QString> cases{
            {"no restart", R"({"targetDir":"/w/skills/a"})", u"Installed skill to /w/skills/a."_s,
             u"Target: /w/skills/a\nRestart: not attempted\nGateway: not attempted"_s},
            {"both restarts succeeded",
             R"({"targetDir":"/t","restartMethod":"launchctl","restartSucceeded":true,)"
             R"("gatewayRestartMethod":"cli","gatewayRestartSucceeded":true})",
             u"Installed skill to /t. Restart: launchctl (ok) Gateway: cli (ok)"_s,
             u"Target: /t\nRestart: launchctl (ok)\nGateway: cli (ok)"_s},
            {"the gateway alone, and it failed",
             R"({"targetDir":"/t","restartMethod":"","restartSucceeded":true,)"
             R"("gatewayRestartMethod":"cli","gatewayRestartSucceeded":false})",
             u"Installed skill to /t. Gateway: cli (check)"_s,
             u"Target: /t\nRestart: not attempted\nGateway: cli (check)"_s},
            {"only true is a success",
             R"({"targetDir":"/t","restartMethod":"a","restartSucceeded":"true",)"
             R"("gatewayRestartMethod":"b","gatewayRestartSucceeded":1})",
             u"Installed skill to /t. Restart: a (check) Gateway: b (check)"_s,
             u"Target: /t\nRestart: a (check)\nGateway: b (check)"_s},
            {"no word on success", R"({"targetDir":"/t","restartMethod":"a"})",
             u"Installed skill to /t. Restart: a (check)"_s,
             u"Target: /t\nRestart: a (check)\nGateway: not attempted"_s},
            {"nothing", "{}", u"Installed skill to ."_s, u"Target: \nRestart: not attempted\nGateway: not attempted"_s},
            {"texts of other types are described",
             R"({"targetDir":["/t"],"restartMethod":7,"restartSucceeded":[true]})",
             u"Installed skill to [\"/t\"]. Restart: 7 (check)"_s,
             u"Target: [\"/t\"]\nRestart: 7 (check)\nGateway: not attempted"_s},
        };
        for (const auto& [result, status, summary] : cases) {
            const Json object = Json::parse(result.toStdString());
            QCOMPARE(installStatus(u"skill"_s, object), status);
            QCOMPARE(installSummary(object), summary);
        }
    }
};

QTEST_GUILESS_MAIN(TestSkillReports)
#include "TestSkillReports.moc"
