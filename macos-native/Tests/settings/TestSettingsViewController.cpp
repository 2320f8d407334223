#include "settings/SettingsFixture.h"
#include "support/Cases.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

namespace {

Json fullDocument()
{
    return {{"version", 1},
            {"core", {{"url", "http://core:1"}, {"auto_discovery", false}}},
            {"chat",
             {{"mode", "cloud"},
              {"local_model", "qwen3:8b"},
              {"cloud_provider", "deepseek"},
              {"cloud_model", "deepseek-chat"},
              {"cloud_api_key", "sk-1"}}},
            {"tovani", {{"auto_download_on_chat", false}, {"path", "/opt/托瓦尼"}}},
            {"cloud_skills", {{"catalog_url", "https://server/catalog.json"}}}};
}

} // namespace

/// Loading and saving the settings document, and refreshing the catalogue.
class TestSettingsViewController final : public TestCase
{
    Q_OBJECT

private slots:
    void loadsOnceWhenItIsBuilt()
    {
        m_settings->view().show();
        m_settings->view().hide();
        m_settings->view().show();
        QCOMPARE(m_settings->backend.calls().size(), std::size_t(1));
        QVERIFY((m_settings->backend.calls().front() == ScriptedBackend::Call{"load_nelo_settings", Json::array()}));
        QCOMPARE(m_settings->status(), u"Settings loaded."_s);
    }

    void showsTheDocumentInPlaceOfEdits()
    {
        m_settings->type("coreURLField", u"http://edited"_s);
        m_settings->find<QCheckBox>("autoTovaniButton")->click();
        m_settings->saved(fullDocument());
        m_settings->press("Reload");
        QCOMPARE(m_settings->isOn("coreAutoDiscoveryButton"), false);
        QCOMPARE(m_settings->text("coreURLField"), u"http://core:1"_s);
        QCOMPARE(m_settings->title("chatModePopup"), u"cloud"_s);
        QCOMPARE(m_settings->title("localModelPopup"), u"qwen3:8b"_s);
        QCOMPARE(m_settings->title("cloudProviderPopup"), u"deepseek"_s);
        QCOMPARE(m_settings->text("cloudModelField"), u"deepseek-chat"_s);
        QCOMPARE(m_settings->text("cloudAPIKeyField"), u"sk-1"_s);
        QCOMPARE(m_settings->isOn("autoTovaniButton"), false);
        QCOMPARE(m_settings->text("tovaniPathField"), u"/opt/托瓦尼"_s);
        QCOMPARE(m_settings->text("cloudSkillsCatalogURLField"), u"https://server/catalog.json"_s);
        QCOMPARE(m_settings->backend.count("save_nelo_settings"), 0);
    }

    void showsTheDefaultsForWhatIsNoDocument_data()
    {
        const Cases<QByteArray> add("document");
        add("an empty object", "{}");
        add("a list", R"([{"core":{"url":"x"}}])");
        add("null", "null");
        add("text that is not JSON", R"("not JSON")");
        add("sections of another type", R"({"core":[],"chat":"x","tovani":1,"cloud_skills":null})");
        add("titles that are not offered", R"({"chat":{"mode":"remote","cloud_provider":"acme"}})");
    }

    void showsTheDefaultsForWhatIsNoDocument()
    {
        QFETCH(QByteArray, document);
        m_settings->saved(fullDocument());
        m_settings->view();
        m_settings->saved(Json::parse(document.toStdString()));
        m_settings->press("Reload");
        QCOMPARE(m_settings->isOn("coreAutoDiscoveryButton"), true);
        QCOMPARE(m_settings->text("coreURLField"), QString());
        QCOMPARE(m_settings->title("chatModePopup"), u"local"_s);
        QCOMPARE(m_settings->title("localModelPopup"), u"qwen3:30b"_s);
        QCOMPARE(m_settings->title("cloudProviderPopup"), u"openai"_s);
        QCOMPARE(m_settings->text("cloudModelField"), u"gpt-4o-mini"_s);
        QCOMPARE(m_settings->text("cloudAPIKeyField"), QString());
        QCOMPARE(m_settings->isOn("autoTovaniButton"), true);
        QCOMPARE(m_settings->text("tovaniPathField"), m_settings->backend.home().path(u".nelo/tovani"_s));
        QCOMPARE(m_settings->text("cloudSkillsCatalogURLField"), QString());
        QCOMPARE(m_settings->status(), u"Settings loaded."_s);
    }

    void aFailedLoadChangesNothingButTheStatus()
    {
        m_settings->saved(fullDocument());
        m_settings->type("coreURLField", u"http://edited"_s);
        m_settings->type("cloudAPIKeyField", u"typed"_s);
        m_settings->choose("cloudProviderPopup", "kimi");
        m_settings->backend.raise("load_nelo_settings", "OSError", "no such luck");
        m_settings->press("Reload");
        QCOMPARE(m_settings->status(), u"ERROR: OSError: no such luck"_s);
        QCOMPARE(m_settings->text("coreURLField"), u"http://edited"_s);
        QCOMPARE(m_settings->title("cloudProviderPopup"), u"kimi"_s);
        m_settings->choose("cloudProviderPopup", "deepseek");
        QCOMPARE(m_settings->text("cloudAPIKeyField"), u"typed"_s);
    }

    void afterAFailedFirstLoadTheFormIsEmptyAndCanBeSaved()
    {
        m_settings->backend.raise("load_nelo_settings", "OSError", "no such luck");
        QCOMPARE(m_settings->status(), u"ERROR: OSError: no such luck"_s);
        for (const QLineEdit* field : m_settings->view().findChildren<QLineEdit*>())
            QCOMPARE(field->text(), QString());
        QVERIFY(!m_settings->isOn("coreAutoDiscoveryButton"));
        QVERIFY(!m_settings->isOn("autoTovaniButton"));
        m_settings->press("Save");
        const Json document = {
            {"version", 1},
            {"core", {{"url", ""}, {"auto_discovery", false}}},
            {"chat",
             {{"mode", "local"},
              {"local_model", "qwen3:30b"},
              {"cloud_provider", "openai"},
              {"cloud_model", ""},
              {"cloud_api_key", ""}}},
            {"tovani",
             {{"auto_download_on_chat", false}, {"path", m_settings->backend.home().path(u".nelo/tovani"_s)}}},
            {"cloud_skills", {{"catalog_url", ""}}}};
        QCOMPARE(m_settings->sentDocument().dump(), document.dump());
    }

    void anUnlistedLocalModelIsAppendedOnce()
    {
        m_settings->saved({{"chat", {{"local_model", "qwen3-coder:30b"}}}});
        QCOMPARE(m_settings->find<QComboBox>("localModelPopup")->count(), 3);
        QCOMPARE(m_settings->find<QComboBox>("localModelPopup")->currentIndex(), 2);
        m_settings->saved({{"chat", {{"local_model", "llama3:70b"}}}});
        for (int load = 0; load < 2; ++load) {
            m_settings->press("Reload");
            QCOMPARE(m_settings->find<QComboBox>("localModelPopup")->count(), 4);
            QCOMPARE(m_settings->find<QComboBox>("localModelPopup")->currentIndex(), 3);
            QCOMPARE(m_settings->title("localModelPopup"), u"llama3:70b"_s);
        }
    }

    void savesTheDocumentInOneCall()
    {
        m_settings->saved({{"core", {{"auto_discovery", false}}}});
        m_settings->find<QCheckBox>("coreAutoDiscoveryButton")->click();
        m_settings->find<QCheckBox>("autoTovaniButton")->click();
        m_settings->choose("chatModePopup", "cloud");
        m_settings->choose("localModelPopup", "qwen3:8b");
        m_settings->choose("cloudProviderPopup", "deepseek");
        m_settings->type("coreURLField", u"http://core"_s);
        m_settings->type("cloudModelField", u"deepseek-chat"_s);
        m_settings->type("cloudAPIKeyField", u"sk-密"_s);
        m_settings->type("cloudSkillsCatalogURLField", u"https://server/c.json"_s);
        m_settings->type("tovaniPathField", u"/opt/tovani"_s);
        m_settings->press("Save");
        const char* const document = R"({"version":1,)"
                                     "\"core\":{\"url\":\"http://core\",\"auto_discovery\":true},"
                                     R"("chat":{"mode":"cloud","local_model":"qwen3:8b","cloud_provider":"deepseek",)"
                                     "\"cloud_model\":\"deepseek-chat\",\"cloud_api_key\":\"sk-密\"},"
                                     R"("tovani":{"auto_download_on_chat":false,"path":"/opt/tovani"},)"
                                     "\"cloud_skills\":{\"catalog_url\":\"https://server/c.json\"}}";
        QCOMPARE(m_settings->sentDocument().dump(), std::string(document));
        QCOMPARE(m_settings->backend.calls().size(), std::size_t(2)); // and the load
    }

    void savesWhatIsTypedTrimmedAndLeavesTheFieldsAlone()
    {
        m_settings->type("coreURLField", u" http://core\n"_s);
        m_settings->type("tovaniPathField", QString()); // stands for the default
        for (const char* popup : {"chatModePopup", "localModelPopup", "cloudProviderPopup"})
            m_settings->find<QComboBox>(popup)->setCurrentIndex(-1); // stands for the first title
        m_settings->press("Save");
        const Json document = m_settings->sentDocument();
        QVERIFY(document["core"]["url"] == "http://core");
        QVERIFY(document["tovani"]["path"] == Json(m_settings->backend.home().path(u".nelo/tovani"_s)));
        QVERIFY(document["chat"]["mode"] == "local");
        QVERIFY(document["chat"]["local_model"] == "qwen3:30b");
        QVERIFY(document["chat"]["cloud_provider"] == "openai");
        QCOMPARE(m_settings->text("coreURLField"), u" http://core\n"_s);
        QCOMPARE(m_settings->text("tovaniPathField"), QString());
    }

    void aFailedSaveLeavesTheForm()
    {
        m_settings->saved(fullDocument());
        m_settings->type("coreURLField", u" edited "_s);
        m_settings->backend.raise("save_nelo_settings", "OSError", "no space left on device");
        m_settings->press("Save");
        QCOMPARE(m_settings->status(), u"ERROR: OSError: no space left on device"_s);
        QCOMPARE(m_settings->text("coreURLField"), u" edited "_s);
        QCOMPARE(m_settings->text("cloudAPIKeyField"), u"sk-1"_s);
        QCOMPARE(m_settings->title("cloudProviderPopup"), u"deepseek"_s);
    }

    void refreshingTheCatalogueSavesFirst()
    {
        m_settings->type("cloudSkillsCatalogURLField", u"https://new/c.json"_s);
        m_settings->press("Refresh Catalog");
        const std::vector<ScriptedBackend::Call> calls = m_settings->backend.calls();
        QCOMPARE(calls.size(), std::size_t(3));
        QCOMPARE(calls[1].function, std::string("save_nelo_settings"));
        QVERIFY(calls[1].args.at(0)["cloud_skills"]["catalog_url"] == "https://new/c.json");
        QVERIFY((calls[2] == ScriptedBackend::Call{"refresh_cloud_skills_via_core", Json::array()}));
    }

    void theCatalogueIsRefreshedAlsoWhenSavingFails()
    {
        m_settings->backend.raise("save_nelo_settings", "OSError", "no space left on device");
        m_settings->press("Refresh Catalog");
        QCOMPARE(m_settings->status(), u"Cloud catalog refreshed (3 skills)."_s);
        m_settings->backend.raise("refresh_cloud_skills_via_core", "OSError", "no such host");
        m_settings->press("Refresh Catalog");
        QCOMPARE(m_settings->status(), u"ERROR: OSError: no such host"_s);
    }

    void twoViewsDoNotWatchEachOther()
    {
        m_settings->view();
        SettingsViewController other;
        other.loadViewIfNeeded();
        const auto* field = other.findChild<QLineEdit*>(u"coreURLField"_s);
        m_settings->type("coreURLField", u"http://core"_s);
        m_settings->press("Save");
        m_settings->saved({{"core", {{"url", "http://core"}}}});
        QCOMPARE(field->text(), QString());
        other.loadSettings();
        QCOMPARE(field->text(), u"http://core"_s);
    }

private:
    Fresh<SettingsFixture> m_settings{this};
};

QTEST_MAIN(TestSettingsViewController)
#include "TestSettingsViewController.moc"
