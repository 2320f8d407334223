#include "settings/core/SettingsDocument.h"

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
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<QString>("text");
        QTest::newRow("a text as it is") << QByteArray("\"  a\\nb 你好 \"") << u"  a\nb 你好 "_s;
        QTest::newRow("an empty text is no missing one") << QByteArray(R"("")") << QString();
        QTest::newRow("null") << "null"_ba << u"<null>"_s;
        QTest::newRow("a number") << "8878"_ba << u"8878"_s;
        QTest::newRow("a fraction") << "0.5"_ba << u"0.5"_s;
        QTest::newRow("true") << "true"_ba << u"1"_s;
        QTest::newRow("false") << "false"_ba << u"0"_s;
        QTest::newRow("a list") << QByteArray(R"(["a", 1])") << QStringLiteral(R"(["a",1])");
        QTest::newRow("an object") << QByteArray(R"({"a": null})") << QStringLiteral(R"({"a":null})");
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
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<bool>("isOn");
        QTest::newRow("false") << "false"_ba << false;
        QTest::newRow("0") << "0"_ba << false;
        QTest::newRow("0.0 is the number 0") << "0.0"_ba << false;
        QTest::newRow("-0.0 is the number 0") << "-0.0"_ba << false;
        QTest::newRow("-0 is the number 0") << "-0"_ba << false;
        QTest::newRow("true") << "true"_ba << true;
        QTest::newRow("1") << "1"_ba << true;
        QTest::newRow("a small fraction") << "1e-300"_ba << true;
        QTest::newRow("a negative number") << "-1"_ba << true;
        QTest::newRow("null") << "null"_ba << true;
        QTest::newRow("the text no") << QByteArray(R"("no")") << true;
        QTest::newRow("the text false") << QByteArray(R"("false")") << true;
        QTest::newRow("the text 0") << QByteArray(R"("0")") << true;
        QTest::newRow("an empty text") << QByteArray(R"("")") << true;
        QTest::newRow("an empty list") << "[]"_ba << true;
        QTest::newRow("a list of false") << "[false]"_ba << true;
        QTest::newRow("an empty object") << "{}"_ba << true;
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
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QString>("provider");
        const QString local = u"local"_s;
        const QString openai = u"openai"_s;
        QTest::newRow("local") << QByteArray(R"("local")") << local << openai;
        QTest::newRow("cloud") << QByteArray(R"("cloud")") << u"cloud"_s << openai;
        QTest::newRow("openai") << QByteArray(R"("openai")") << local << openai;
        QTest::newRow("deepseek") << QByteArray(R"("deepseek")") << local << u"deepseek"_s;
        QTest::newRow("kimi") << QByteArray(R"("kimi")") << local << u"kimi"_s;
        QTest::newRow("remote") << QByteArray(R"("remote")") << local << openai;
        QTest::newRow("other letter case") << QByteArray(R"("KIMI")") << local << openai;
        QTest::newRow("with blanks") << QByteArray(R"(" cloud ")") << local << openai;
        QTest::newRow("nothing") << QByteArray(R"("")") << local << openai;
        QTest::newRow("null") << "null"_ba << local << openai;
        QTest::newRow("a number") << "1"_ba << local << openai;
        QTest::newRow("a list") << QByteArray(R"(["cloud"])") << local << openai;
        QTest::newRow("an object") << QByteArray(R"({"cloud":"kimi"})") << local << openai;
        QTest::newRow("true") << "true"_ba << local << openai;
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
        QTest::addColumn<QString>("typed");
        QTest::newRow("nothing") << QString();
        QTest::newRow("white space") << u" \n\t"_s;
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
