#include "settings/core/SettingsReports.h"

#include "backend/BackendReply.h"
#include "support/Cases.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// What the status line of the settings says.
class TestSettingsReports final : public TestCase
{
    Q_OBJECT

private slots:
    void aSaveIsTold_data()
    {
        const Cases<QByteArray, QString, QString> add("reply", "keyFailure", "status");
        add("a path", R"({"path":"/s.json"})", {}, u"Settings saved: /s.json"_s);
        add("an empty path is one", R"({"path":""})", {}, u"Settings saved: "_s);
        add("a path that is null", R"({"path":null})", {}, u"Settings saved: <null>"_s);
        add("a number", R"({"path":7})", {}, u"Settings saved: 7"_s);
        for (const char* nothing : {"{}", "null", "false", "0", R"("")", "[]", R"([{"path":"x"}])"})
            add(nothing, nothing, {}, u"Settings saved: (unknown)"_s);
        add("a failure", "ERROR: no space", {}, u"ERROR: no space"_s);
        add("keys that were not stored", R"({"path":"/s.json"})", u"no space"_s,
            u"Settings saved, but the API keys were not: no space"_s);
        add("two failures", "ERROR: no space", u"no lock"_s,
            u"ERROR: no space. The API keys were not saved: no lock"_s);
    }

    void aSaveIsTold()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QString, keyFailure);
        QFETCH(QString, status);
        const std::optional failure = keyFailure.isEmpty() ? std::nullopt : std::optional(keyFailure);
        const SaveReport report = saveReport(BackendReply(reply.toStdString()), failure);
        QCOMPARE(report.status, status);
        QCOMPARE(report.areKeysStored, keyFailure.isEmpty());
    }

    void aRefreshedCatalogueIsTold_data()
    {
        const Cases<QByteArray, bool, QString> add("reply", "areKeysStored", "status");
        add("a number", R"({"count":12})", true, u"Cloud catalog refreshed (12 skills)."_s);
        add("a text, as it is", R"({"count":"%1 <b>"})", true, u"Cloud catalog refreshed (%1 <b> skills)."_s);
        add("true", R"({"count":true})", true, u"Cloud catalog refreshed (1 skills)."_s);
        add("null, which is described", R"({"count":null})", true, u"Cloud catalog refreshed (<null> skills)."_s);
        for (const char* nothing : {"{}", "null", "false", "0", R"("")", "[1,2]"})
            add(nothing, nothing, true, u"Cloud catalog refreshed (0 skills)."_s);
        add("a failure", "ERROR: no such host", true, u"ERROR: no such host"_s);
        add("keys that were not stored", "{}", false, u"no keys. Cloud catalog refreshed (0 skills)."_s);
        add("two failures", "ERROR: no such host", false, u"no keys. ERROR: no such host"_s);
    }

    void aRefreshedCatalogueIsTold()
    {
        QFETCH(QByteArray, reply);
        QFETCH(bool, areKeysStored);
        QFETCH(QString, status);
        QCOMPARE(catalogStatus({u"no keys"_s, areKeysStored}, BackendReply(reply.toStdString())), status);
    }
};

QTEST_GUILESS_MAIN(TestSettingsReports)
#include "TestSettingsReports.moc"
