#include "settings/core/SettingsDocument.h"

#include "support/Cases.h"
#include "support/TestHome.h"
#include "support/Warnings.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// A document whose section `section` holds `value` under `key`.
Json documentWith(const QByteArray& section, const QByteArray& key, const QByteArray& value)
{
    return Json::parse("{\"" + section.toStdString() + "\":{\"" + key.toStdString() + "\":" + value.toStdString()
                       + "}}");
}

SettingsDocument filled()
{
    return {
        .coreAutoDiscovery = false,
        .coreUrl = u"http://core"_s,
        .chatMode = u"cloud"_s,
        .localModel = u"llama3:70b"_s,
        .cloudProvider = u"kimi"_s,
        .cloudModel = u"moonshot-v1-8k"_s,
        .cloudApiKey = u"sk-密"_s,
        .autoDownloadTovani = false,
        .tovaniPath = u"/opt/tovani"_s,
        .cloudSkillsCatalogUrl = u"https://server/catalog.json"_s,
    };
}

} // namespace

/// The settings document: read leniently, written strictly.
class TestSettingsDocument final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void nothingUsableReadsAsTheDefaults_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::newRow("an empty object") << "{}"_ba;
        QTest::newRow("an array") << QByteArray(R"([{"core":{"url":"x"}}])");
        QTest::newRow("null") << "null"_ba;
        QTest::newRow("a text") << QByteArray(R"("core")");
        for (const char* section : {"null", "true", "7", R"("text")", R"([{"url":"x","mode":"cloud"}])"}) {
            const QByteArray value(section);
            QTest::addRow("every section is %s", section)
                << QByteArray(R"({"core":)" + value + R"(,"chat":)" + value + R"(,"tovani":)" + value
                              + R"(,"cloud_skills":)" + value + "}");
        }
        QTest::newRow("unknown keys only") << QByteArray(R"({"version":2,"Core":{"url":"x"},"chat":{"Mode":"cloud"}})");
    }

    void nothingUsableReadsAsTheDefaults()
    {
        QFETCH(QByteArray, document);
        const SettingsDocument defaults{
            .coreAutoDiscovery = true,
            .coreUrl = QString(),
            .chatMode = u"local"_s,
            .localModel = u"qwen3:30b"_s,
            .cloudProvider = u"openai"_s,
            .cloudModel = u"gpt-4o-mini"_s,
            .cloudApiKey = QString(),
            .autoDownloadTovani = true,
            .tovaniPath = m_home.path(u".nelo/tovani"_s),
            .cloudSkillsCatalogUrl = QString(),
        };
        QVERIFY(readSettingsDocument(Json::parse(document.toStdString())) == defaults);
    }

    void textsAreTakenOrDescribed_data()
    {
        const Cases<QByteArray, QString> add("value", "text");
        add("a text as it is", "\"  a\\nb 你好 \"", u"  a\nb 你好 "_s);
        add("an empty text is no missing one", R"("")", {});
        add("null", "null", u"<null>"_s);
        add("a number", "8878", u"8878"_s);
        add("a fraction", "0.5", u"0.5"_s);
        add("true", "true", u"1"_s);
        add("false", "false", u"0"_s);
        add("a list", R"(["a", 1])", QStringLiteral(R"(["a",1])"));
        add("an object", R"({"a": null})", QStringLiteral(R"({"a":null})"));
    }

    void textsAreTakenOrDescribed()
    {
        QFETCH(QByteArray, value);
        QFETCH(QString, text);
        QCOMPARE(readSettingsDocument(documentWith("core", "url", value)).coreUrl, text);
        QCOMPARE(readSettingsDocument(documentWith("chat", "local_model", value)).localModel, text);
        QCOMPARE(readSettingsDocument(documentWith("chat", "cloud_model", value)).cloudModel, text);
        QCOMPARE(readSettingsDocument(documentWith("chat", "cloud_api_key", value)).cloudApiKey, text);
        QCOMPARE(readSettingsDocument(documentWith("tovani", "path", value)).tovaniPath, text);
        QCOMPARE(readSettingsDocument(documentWith("cloud_skills", "catalog_url", value)).cloudSkillsCatalogUrl, text);
    }

    void missingTextsHaveTheirDefaults()
    {
        const SettingsDocument settings =
            readSettingsDocument({{"core", Json::object()}, {"chat", Json::object()}, {"tovani", Json::object()}});
        QCOMPARE(settings.localModel, u"qwen3:30b"_s);
        QCOMPARE(settings.cloudModel, u"gpt-4o-mini"_s);
        QCOMPARE(settings.tovaniPath, m_home.path(u".nelo/tovani"_s));
        QVERIFY(settings.coreAutoDiscovery);
        QVERIFY(settings.autoDownloadTovani);
    }

    void onlyFalseAndZeroSwitchOff_data()
    {
        const Cases<QByteArray, bool> add("value", "isOn");
        add("false", "false", false);
        add("0", "0", false);
        add("0.0 is the number 0", "0.0", false);
        add("-0.0 is the number 0", "-0.0", false);
        add("-0 is the number 0", "-0", false);
        add("true", "true", true);
        add("1", "1", true);
        add("a small fraction", "1e-300", true);
        add("a negative number", "-1", true);
        add("null", "null", true);
        add("the text no", R"("no")", true);
        add("the text false", R"("false")", true);
        add("the text 0", R"("0")", true);
        add("an empty text", R"("")", true);
        add("an empty list", "[]", true);
        add("a list of false", "[false]", true);
        add("an empty object", "{}", true);
    }

    void onlyFalseAndZeroSwitchOff()
    {
        QFETCH(QByteArray, value);
        QFETCH(bool, isOn);
        QCOMPARE(readSettingsDocument(documentWith("core", "auto_discovery", value)).coreAutoDiscovery, isOn);
        QCOMPARE(readSettingsDocument(documentWith("tovani", "auto_download_on_chat", value)).autoDownloadTovani, isOn);
    }

    void aModeOrProviderThatIsNotOfferedIsTheFirst_data()
    {
        const Cases<QByteArray, QString, QString> add("value", "mode", "provider");

        const QString local = u"local"_s;
        const QString openai = u"openai"_s;
        add("local", R"("local")", local, openai);
        add("cloud", R"("cloud")", u"cloud"_s, openai);
        add("openai", R"("openai")", local, openai);
        add("deepseek", R"("deepseek")", local, u"deepseek"_s);
        add("kimi", R"("kimi")", local, u"kimi"_s);
        add("remote", R"("remote")", local, openai);
        add("other letter case", R"("KIMI")", local, openai);
        add("with blanks", R"(" cloud ")", local, openai);
        add("nothing", R"("")", local, openai);
        add("null", "null", local, openai);
        add("a number", "1", local, openai);
        add("a list", R"(["cloud"])", local, openai);
        add("an object", R"({"cloud":"kimi"})", local, openai);
        add("true", "true", local, openai);
    }

    void aModeOrProviderThatIsNotOfferedIsTheFirst()
    {
        QFETCH(QByteArray, value);
        QFETCH(QString, mode);
        QFETCH(QString, provider);
        QCOMPARE(readSettingsDocument(documentWith("chat", "mode", value)).chatMode, mode);
        QCOMPARE(readSettingsDocument(documentWith("chat", "cloud_provider", value)).cloudProvider, provider);
    }

    void theDocumentIsWrittenInItsOrder()
    {
        const char* const document = R"({"version":1,)"
                                     "\"core\":{\"url\":\"http://core\",\"auto_discovery\":false},"
                                     R"("chat":{"mode":"cloud","local_model":"llama3:70b","cloud_provider":"kimi",)"
                                     "\"cloud_model\":\"moonshot-v1-8k\",\"cloud_api_key\":\"sk-密\"},"
                                     R"("tovani":{"auto_download_on_chat":false,"path":"/opt/tovani"},)"
                                     "\"cloud_skills\":{\"catalog_url\":\"https://server/catalog.json\"}}";
        QCOMPARE(toJson(filled()).dump(), std::string(document));

        SettingsDocument on = filled();
        on.coreAutoDiscovery = true;
        on.autoDownloadTovani = true;
        QVERIFY(toJson(on)["core"]["auto_discovery"] == true);
        QVERIFY(toJson(on)["tovani"]["auto_download_on_chat"] == true);
    }

    void typedTextsAreWrittenTrimmed()
    {
        SettingsDocument typed = filled();
        typed.coreUrl = u" \t\nhttp://core\r\n "_s;
        typed.localModel = u" a title is no typed text "_s;
        typed.cloudModel = u"\n gpt 4 \n"_s;
        typed.tovaniPath = u" /opt/my tovani\n"_s;
        typed.cloudSkillsCatalogUrl = u"  "_s;
        const Json document = toJson(typed);
        QVERIFY(document["core"]["url"] == "http://core");
        QVERIFY(document["chat"]["local_model"] == " a title is no typed text ");
        QVERIFY(document["chat"]["cloud_model"] == "gpt 4");
        QVERIFY(document["tovani"]["path"] == "/opt/my tovani");
        QVERIFY(document["cloud_skills"]["catalog_url"] == "");
    }

    void anEmptyTovaniPathIsWrittenAsTheDefault_data()
    {
        const Cases<QString> add("typed");
        add("nothing", {});
        add("white space", u" \n\t"_s);
    }

    void anEmptyTovaniPathIsWrittenAsTheDefault()
    {
        QFETCH(QString, typed);
        SettingsDocument settings = filled();
        settings.tovaniPath = typed;
        QVERIFY(toJson(settings)["tovani"]["path"] == Json(m_home.path(u".nelo/tovani"_s)));
    }

    void whatWasWrittenReadsBackTheSame() { QVERIFY(readSettingsDocument(toJson(filled())) == filled()); }

private:
    TestHome m_home;
};

QTEST_GUILESS_MAIN(TestSettingsDocument)
#include "TestSettingsDocument.moc"
