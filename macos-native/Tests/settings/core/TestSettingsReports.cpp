#include "settings/core/SettingsReports.h"

#include "backend/BackendReply.h"
#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// What the status line of the settings says.
class TestSettingsReports final : public TestCase
{
    Q_OBJECT

private slots:
    void aSaveIsTold()
    {
        const CaseTable<std::string, QString, QString> cases{
            {"a path", R"({"path":"/s.json"})", {}, u"Settings saved: /s.json"_s},
            {"an empty path is one", R"({"path":""})", {}, u"Settings saved: "_s},
            {"a path that is null", R"({"path":null})", {}, u"Settings saved: <null>"_s},
            {"a number", R"({"path":7})", {}, u"Settings saved: 7"_s},
            {"a failure", "ERROR: no space", {}, u"ERROR: no space"_s},
            {"keys that were not stored", R"({"path":"/s.json"})", u"no space"_s,
             u"Settings saved, but the API keys were not: no space"_s},
            {"two failures", "ERROR: no space", u"no lock"_s,
             u"ERROR: no space. The API keys were not saved: no lock"_s},
        };
        for (const auto& [reply, keyFailure, status] : cases) {
            const std::optional failure = keyFailure.isEmpty() ? std::nullopt : std::optional(keyFailure);
            const SaveReport report = saveReport(BackendReply(reply), failure);
            QCOMPARE(report.status, status);
            QCOMPARE(report.areKeysStored, keyFailure.isEmpty());
        }
        for (const char* nothing : {"{}", "null", "false", "0", R"("")", "[]", R"([{"path":"x"}])"})
            QCOMPARE(saveReport(BackendReply(nothing), {}).status, u"Settings saved: (unknown)"_s);
    }

    void aRefreshedCatalogueIsTold()
    {
        const CaseTable<std::string, bool, QString> cases{
            {"a number", R"({"count":12})", true, u"Cloud catalog refreshed (12 skills)."_s},
            {"a text, as it is", R"({"count":"%1 <b>"})", true, u"Cloud catalog refreshed (%1 <b> skills)."_s},
            {"true", R"({"count":true})", true, u"Cloud catalog refreshed (1 skills)."_s},
            {"null, which is described", R"({"count":null})", true, u"Cloud catalog refreshed (<null> skills)."_s},
            {"a failure", "ERROR: no such host", true, u"ERROR: no such host"_s},
            {"keys that were not stored", "{}", false, u"no keys. Cloud catalog refreshed (0 skills)."_s},
            {"two failures", "ERROR: no such host", false, u"no keys. ERROR: no such host"_s},
        };
        for (const auto& [reply, areKeysStored, status] : cases)
            QCOMPARE(catalogStatus({u"no keys"_s, areKeysStored}, BackendReply(reply)), status);
        for (const char* nothing : {"{}", "null", "false", "0", R"("")", "[1,2]"})
            QCOMPARE(catalogStatus({{}, true}, BackendReply(nothing)), u"Cloud catalog refreshed (0 skills)."_s);
    }
};

QTEST_GUILESS_MAIN(TestSettingsReports)
#include "TestSettingsReports.moc"
