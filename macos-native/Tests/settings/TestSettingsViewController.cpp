#include "settings/SettingsFixture.h"
#include "settings/core/SettingsDocument.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

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
        QCOMPARE(m_settings->shown(), u"off|http://core:1|cloud|qwen3:8b|deepseek|deepseek-chat|sk-密|"
                                      "https://server/catalog.json|off|/opt/托瓦尼"_s);
        QCOMPARE(m_settings->backend.count("save_nelo_settings"), 0);
    }

    void showsTheDefaultsForWhatIsNoDocument()
    {
        m_settings->view();
        for (const Json& document :
             {Json::object(), Json::array({{{"core", {{"url", "x"}}}}}), Json(), Json("no JSON")}) {
            m_settings->saved(fullDocument());
            m_settings->press("Reload");
            m_settings->saved(document);
            m_settings->press("Reload");
            QCOMPARE(m_settings->shown(), u"on||local|qwen3:30b|openai|gpt-4o-mini|||on|"_s
                                              + m_settings->backend.home().path(u".nelo/tovani"_s));
            QCOMPARE(m_settings->status(), u"Settings loaded."_s);
        }
    }

    void aFailedLoadChangesNothingButTheStatus()
    {
        m_settings->saved(fullDocument());
        m_settings->type("coreURLField", u"http://edited"_s);
        m_settings->type("cloudAPIKeyField", u"typed"_s);
        m_settings->choose("cloudProviderPopup", "kimi");
        const QString shown = m_settings->shown();
        m_settings->backend.raise("load_nelo_settings", "OSError", "no such luck");
        m_settings->press("Reload");
        QCOMPARE(m_settings->status(), u"ERROR: OSError: no such luck"_s);
        QCOMPARE(m_settings->shown(), shown);
        m_settings->choose("cloudProviderPopup", "deepseek");
        QCOMPARE(m_settings->text("cloudAPIKeyField"), u"typed"_s);
    }

    void afterAFailedFirstLoadTheFormIsEmptyAndCanBeSaved()
    {
        m_settings->backend.raise("load_nelo_settings", "OSError", "no such luck");
        QCOMPARE(m_settings->status(), u"ERROR: OSError: no such luck"_s);
        QCOMPARE(m_settings->shown(), u"off||local|qwen3:30b|openai||||off|"_s);
        m_settings->press("Save");
        Json document = toJson(readSettingsDocument(Json::object()));
        document["core"]["auto_discovery"] = false;
        document["chat"]["cloud_model"] = "";
        document["tovani"]["auto_download_on_chat"] = false;
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
        m_settings->find<QCheckBox>("coreAutoDiscoveryButton")->click();
        m_settings->find<QCheckBox>("autoTovaniButton")->click();
        m_settings->choose("chatModePopup", "cloud");
        m_settings->choose("localModelPopup", "qwen3:8b");
        m_settings->choose("cloudProviderPopup", "deepseek");
        m_settings->type("coreURLField", u"http://core:1"_s);
        m_settings->type("cloudModelField", u"deepseek-chat"_s);
        m_settings->type("cloudAPIKeyField", u"sk-密"_s);
        m_settings->type("cloudSkillsCatalogURLField", u"https://server/catalog.json"_s);
        m_settings->type("tovaniPathField", u"/opt/托瓦尼"_s);
        m_settings->press("Save");
        QCOMPARE(m_settings->sentDocument().dump(), fullDocument().dump());
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
        QVERIFY(document["core"]["auto_discovery"] == true);
        QVERIFY(document["tovani"]["auto_download_on_chat"] == true);
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
        const QString shown = m_settings->shown();
        m_settings->backend.raise("save_nelo_settings", "OSError", "no space left on device");
        m_settings->press("Save");
        QCOMPARE(m_settings->status(), u"ERROR: OSError: no space left on device"_s);
        QCOMPARE(m_settings->shown(), shown);
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
    static Json fullDocument()
    {
        return {{"version", 1},
                {"core", {{"url", "http://core:1"}, {"auto_discovery", false}}},
                {"chat",
                 {{"mode", "cloud"},
                  {"local_model", "qwen3:8b"},
                  {"cloud_provider", "deepseek"},
                  {"cloud_model", "deepseek-chat"},
                  {"cloud_api_key", "sk-密"}}},
                {"tovani", {{"auto_download_on_chat", false}, {"path", "/opt/托瓦尼"}}},
                {"cloud_skills", {{"catalog_url", "https://server/catalog.json"}}}};
    }

    Fresh<SettingsFixture> m_settings{this};
};

QTEST_MAIN(TestSettingsViewController)
#include "TestSettingsViewController.moc"
