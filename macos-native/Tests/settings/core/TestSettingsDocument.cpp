#include "settings/core/SettingsDocument.h"

#include "support/TestHome.h"
#include "support/Warnings.h"

#include <QTest>

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
        .coreUrl = QStringLiteral("http://core"),
        .chatMode = QStringLiteral("cloud"),
        .localModel = QStringLiteral("llama3:70b"),
        .cloudProvider = QStringLiteral("kimi"),
        .cloudModel = QStringLiteral("moonshot-v1-8k"),
        .cloudApiKey = QStringLiteral("sk-密"),
        .autoDownloadTovani = false,
        .tovaniPath = QStringLiteral("/opt/tovani"),
        .cloudSkillsCatalogUrl = QStringLiteral("https://server/catalog.json"),
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
        QTest::newRow("an empty object") << QByteArray("{}");
        QTest::newRow("an array") << QByteArray(R"([{"core":{"url":"x"}}])");
        QTest::newRow("null") << QByteArray("null");
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
            .chatMode = QStringLiteral("local"),
            .localModel = QStringLiteral("qwen3:30b"),
            .cloudProvider = QStringLiteral("openai"),
            .cloudModel = QStringLiteral("gpt-4o-mini"),
            .cloudApiKey = QString(),
            .autoDownloadTovani = true,
            .tovaniPath = m_home.path(QStringLiteral(".nelo/tovani")),
            .cloudSkillsCatalogUrl = QString(),
        };
        QVERIFY(readSettingsDocument(Json::parse(document.toStdString())) == defaults);
    }

    void textsAreTakenOrDescribed_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<QString>("text");
        QTest::newRow("a text as it is") << QByteArray(R"("  a\nb 你好 ")") << QStringLiteral("  a\nb 你好 ");
        QTest::newRow("an empty text is no missing one") << QByteArray(R"("")") << QString();
        QTest::newRow("null") << QByteArray("null") << QStringLiteral("<null>");
        QTest::newRow("a number") << QByteArray("8878") << QStringLiteral("8878");
        QTest::newRow("a fraction") << QByteArray("0.5") << QStringLiteral("0.5");
        QTest::newRow("true") << QByteArray("true") << QStringLiteral("1");
        QTest::newRow("false") << QByteArray("false") << QStringLiteral("0");
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
        QCOMPARE(settings.localModel, QStringLiteral("qwen3:30b"));
        QCOMPARE(settings.cloudModel, QStringLiteral("gpt-4o-mini"));
        QCOMPARE(settings.tovaniPath, m_home.path(QStringLiteral(".nelo/tovani")));
        QVERIFY(settings.coreAutoDiscovery);
        QVERIFY(settings.autoDownloadTovani);
    }

    void onlyFalseAndZeroSwitchOff_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<bool>("isOn");
        QTest::newRow("false") << QByteArray("false") << false;
        QTest::newRow("0") << QByteArray("0") << false;
        QTest::newRow("0.0 is the number 0") << QByteArray("0.0") << false;
        QTest::newRow("-0.0 is the number 0") << QByteArray("-0.0") << false;
        QTest::newRow("-0 is the number 0") << QByteArray("-0") << false;
        QTest::newRow("true") << QByteArray("true") << true;
        QTest::newRow("1") << QByteArray("1") << true;
        QTest::newRow("a small fraction") << QByteArray("1e-300") << true;
        QTest::newRow("a negative number") << QByteArray("-1") << true;
        QTest::newRow("null") << QByteArray("null") << true;
        QTest::newRow("the text no") << QByteArray(R"("no")") << true;
        QTest::newRow("the text false") << QByteArray(R"("false")") << true;
        QTest::newRow("the text 0") << QByteArray(R"("0")") << true;
        QTest::newRow("an empty text") << QByteArray(R"("")") << true;
        QTest::newRow("an empty list") << QByteArray("[]") << true;
        QTest::newRow("a list of false") << QByteArray("[false]") << true;
        QTest::newRow("an empty object") << QByteArray("{}") << true;
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
        const QString local = QStringLiteral("local");
        const QString openai = QStringLiteral("openai");
        QTest::newRow("local") << QByteArray(R"("local")") << local << openai;
        QTest::newRow("cloud") << QByteArray(R"("cloud")") << QStringLiteral("cloud") << openai;
        QTest::newRow("openai") << QByteArray(R"("openai")") << local << openai;
        QTest::newRow("deepseek") << QByteArray(R"("deepseek")") << local << QStringLiteral("deepseek");
        QTest::newRow("kimi") << QByteArray(R"("kimi")") << local << QStringLiteral("kimi");
        QTest::newRow("remote") << QByteArray(R"("remote")") << local << openai;
        QTest::newRow("other letter case") << QByteArray(R"("KIMI")") << local << openai;
        QTest::newRow("with blanks") << QByteArray(R"(" cloud ")") << local << openai;
        QTest::newRow("nothing") << QByteArray(R"("")") << local << openai;
        QTest::newRow("null") << QByteArray("null") << local << openai;
        QTest::newRow("a number") << QByteArray("1") << local << openai;
        QTest::newRow("a list") << QByteArray(R"(["cloud"])") << local << openai;
        QTest::newRow("an object") << QByteArray(R"({"cloud":"kimi"})") << local << openai;
        QTest::newRow("true") << QByteArray("true") << local << openai;
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
                                     R"("core":{"url":"http://core","auto_discovery":false},)"
                                     R"("chat":{"mode":"cloud","local_model":"llama3:70b","cloud_provider":"kimi",)"
                                     R"("cloud_model":"moonshot-v1-8k","cloud_api_key":"sk-密"},)"
                                     R"("tovani":{"auto_download_on_chat":false,"path":"/opt/tovani"},)"
                                     R"("cloud_skills":{"catalog_url":"https://server/catalog.json"}})";
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
        typed.coreUrl = QStringLiteral(" \t\nhttp://core\r\n ");
        typed.localModel = QStringLiteral(" a title is no typed text ");
        typed.cloudModel = QStringLiteral("\n gpt 4 \n");
        typed.tovaniPath = QStringLiteral(" /opt/my tovani\n");
        typed.cloudSkillsCatalogUrl = QStringLiteral("  ");
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
        QTest::newRow("white space") << QStringLiteral(" \n\t");
    }

    void anEmptyTovaniPathIsWrittenAsTheDefault()
    {
        QFETCH(QString, typed);
        SettingsDocument settings = filled();
        settings.tovaniPath = typed;
        QVERIFY(toJson(settings)["tovani"]["path"] == Json(m_home.path(QStringLiteral(".nelo/tovani"))));
    }

    void whatWasWrittenReadsBackTheSame() { QVERIFY(readSettingsDocument(toJson(filled())) == filled()); }

private:
    TestHome m_home;
};

QTEST_GUILESS_MAIN(TestSettingsDocument)
#include "TestSettingsDocument.moc"
