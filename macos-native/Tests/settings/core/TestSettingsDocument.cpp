#include "settings/core/SettingsDocument.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"
#include "support/TestHome.h"

using namespace Qt::StringLiterals;

/// The settings document: read leniently, written strictly.
class TestSettingsDocument final : public TestCase
{
    Q_OBJECT

private slots:
    void nothingUsableReadsAsTheDefaults()
    {
        QByteArrayList documents{"{}",
                                 R"([{"core":{"url":"x"}}])",
                                 "null",
                                 R"("core")",
                                 R"({"core":{},"chat":{},"tovani":{},"cloud_skills":{}})",
                                 R"({"version":2,"Core":{"url":"x"},"chat":{"Mode":"cloud"}})"};
        for (const char* section : {"null", "true", "7", R"("text")", R"([{"url":"x","mode":"cloud"}])"})
            documents.append(QByteArray(R"({"core":%,"chat":%,"tovani":%,"cloud_skills":%})").replace("%", section));
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
        for (const QByteArray& document : std::as_const(documents))
            QVERIFY2(readSettingsDocument(Json::parse(document.toStdString())) == defaults, document.constData());
    }

    void textsAreTakenOrDescribed()
    {
        const CaseTable<QByteArray, QString> cases{
            {"a text as it is", "\"  a\\nb 你好 \"", u"  a\nb 你好 "_s},
            {"an empty text is no missing one", R"("")", {}},
            {"null", "null", u"<null>"_s},
            {"a number", "8878", u"8878"_s},
            {"a fraction", "0.5", u"0.5"_s},
            {"true", "true", u"1"_s},
            {"false", "false", u"0"_s},
            {"a list", R"(["a", 1])", QStringLiteral(R"(["a",1])")},
            {"an object", R"({"a": null})", QStringLiteral(R"({"a":null})")},
        };
        for (const auto& [value, text] : cases) {
            QCOMPARE(readSettingsDocument(documentWith("core", "url", value)).coreUrl, text);
            QCOMPARE(readSettingsDocument(documentWith("chat", "local_model", value)).localModel, text);
            QCOMPARE(readSettingsDocument(documentWith("chat", "cloud_model", value)).cloudModel, text);
            QCOMPARE(readSettingsDocument(documentWith("chat", "cloud_api_key", value)).cloudApiKey, text);
            QCOMPARE(readSettingsDocument(documentWith("tovani", "path", value)).tovaniPath, text);
            QCOMPARE(readSettingsDocument(documentWith("cloud_skills", "catalog_url", value)).cloudSkillsCatalogUrl,
                     text);
        }
    }

    void onlyFalseAndZeroSwitchOff()
    {
        const auto isOn = [](const char* value) {
            const bool core = readSettingsDocument(documentWith("core", "auto_discovery", value)).coreAutoDiscovery;
            const Json tovani = documentWith("tovani", "auto_download_on_chat", value);
            return readSettingsDocument(tovani).autoDownloadTovani == core ? QVariant(core) : QVariant();
        };
        for (const char* value : {"false", "0", "0.0", "-0.0", "-0"})
            QCOMPARE(isOn(value), QVariant(false));
        for (const char* value :
             {"true", "1", "1e-300", "-1", "null", R"("no")", R"("false")", R"("0")", R"("")", "[]", "[false]", "{}"})
            QCOMPARE(isOn(value), QVariant(true));
    }

    void aModeOrProviderThatIsNotOfferedIsTheFirst()
    {
        const auto read = [](const QByteArray& value) {
            return readSettingsDocument(documentWith("chat", "mode", value)).chatMode + u' '
                   + readSettingsDocument(documentWith("chat", "cloud_provider", value)).cloudProvider;
        };
        QCOMPARE(read(R"("cloud")"), u"cloud openai"_s);
        QCOMPARE(read(R"("deepseek")"), u"local deepseek"_s);
        QCOMPARE(read(R"("kimi")"), u"local kimi"_s);
        for (const char* other : {R"("local")", R"("openai")", R"("remote")", R"("KIMI")", R"(" cloud ")", R"("")",
                                  "null", "1", R"(["cloud"])", R"({"cloud":"kimi"})", "true"})
            QCOMPARE(read(other), u"local openai"_s);
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
        for (const QString& nothing : {QString(), u" \n\t"_s}) {
            typed.tovaniPath = nothing; // stands for the default
            QVERIFY(toJson(typed)["tovani"]["path"] == Json(m_home.path(u".nelo/tovani"_s)));
        }
    }

    void whatWasWrittenReadsBackTheSame() { QVERIFY(readSettingsDocument(toJson(filled())) == filled()); }

private:
    /// A document whose section `section` holds `value` under `key`.
    static Json documentWith(const QByteArray& section, const QByteArray& key, const QByteArray& value)
    {
        return Json::parse("{\"" + section.toStdString() + "\":{\"" + key.toStdString() + "\":" + value.toStdString()
                           + "}}");
    }

    static SettingsDocument filled()
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

    TestHome m_home;
};

QTEST_GUILESS_MAIN(TestSettingsDocument)
#include "TestSettingsDocument.moc"
