#include "settings/SettingsFixture.h"
#include "support/Warnings.h"

#include <optional>

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
class TestSettingsViewController final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_settings.emplace();
    }

    void cleanup() { m_settings.reset(); }

    void loadsOnceWhenItIsBuilt()
    {
        m_settings->view().show();
        m_settings->view().hide();
        m_settings->view().show();
        QCOMPARE(m_settings->backend.calls().size(), std::size_t(1));
        QVERIFY((m_settings->backend.calls().front() == ScriptedBackend::Call{"load_nelo_settings", Json::array()}));
        QCOMPARE(m_settings->status(), QStringLiteral("Settings loaded."));
    }

    void showsTheDocument()
    {
        m_settings->saved(fullDocument());
        QCOMPARE(m_settings->isOn("coreAutoDiscoveryButton"), false);
        QCOMPARE(m_settings->text("coreURLField"), QStringLiteral("http://core:1"));
        QCOMPARE(m_settings->title("chatModePopup"), QStringLiteral("cloud"));
        QCOMPARE(m_settings->title("localModelPopup"), QStringLiteral("qwen3:8b"));
        QCOMPARE(m_settings->title("cloudProviderPopup"), QStringLiteral("deepseek"));
        QCOMPARE(m_settings->text("cloudModelField"), QStringLiteral("deepseek-chat"));
        QCOMPARE(m_settings->text("cloudAPIKeyField"), QStringLiteral("sk-1"));
        QCOMPARE(m_settings->isOn("autoTovaniButton"), false);
        QCOMPARE(m_settings->text("tovaniPathField"), QStringLiteral("/opt/托瓦尼"));
        QCOMPARE(m_settings->text("cloudSkillsCatalogURLField"), QStringLiteral("https://server/catalog.json"));
    }

    void showsTheDefaultsForWhatIsNoDocument_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::newRow("an empty object") << QByteArray("{}");
        QTest::newRow("a list") << QByteArray(R"([{"core":{"url":"x"}}])");
        QTest::newRow("null") << QByteArray("null");
        QTest::newRow("text that is not JSON") << QByteArray(R"("not JSON")");
        QTest::newRow("sections of another type")
            << QByteArray(R"({"core":[],"chat":"x","tovani":1,"cloud_skills":null})");
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
        QCOMPARE(m_settings->title("chatModePopup"), QStringLiteral("local"));
        QCOMPARE(m_settings->title("localModelPopup"), QStringLiteral("qwen3:30b"));
        QCOMPARE(m_settings->title("cloudProviderPopup"), QStringLiteral("openai"));
        QCOMPARE(m_settings->text("cloudModelField"), QStringLiteral("gpt-4o-mini"));
        QCOMPARE(m_settings->text("cloudAPIKeyField"), QString());
        QCOMPARE(m_settings->isOn("autoTovaniButton"), true);
        QCOMPARE(m_settings->text("tovaniPathField"), m_settings->backend.home().path(QStringLiteral(".nelo/tovani")));
        QCOMPARE(m_settings->text("cloudSkillsCatalogURLField"), QString());
        QCOMPARE(m_settings->status(), QStringLiteral("Settings loaded."));
    }

    void aFailedLoadChangesNothingButTheStatus()
    {
        m_settings->saved(fullDocument());
        m_settings->type("coreURLField", QStringLiteral("http://edited"));
        m_settings->type("cloudAPIKeyField", QStringLiteral("typed"));
        m_settings->choose("cloudProviderPopup", "kimi");
        m_settings->backend.raise("load_nelo_settings", "OSError", "no such luck");
        m_settings->press("Reload");
        QVERIFY(m_settings->status().startsWith(QStringLiteral("ERROR: ")));
        QVERIFY(m_settings->status().contains(QStringLiteral("no such luck")));
        QCOMPARE(m_settings->text("coreURLField"), QStringLiteral("http://edited"));
        QCOMPARE(m_settings->title("cloudProviderPopup"), QStringLiteral("kimi"));
        m_settings->choose("cloudProviderPopup", "deepseek");
        QCOMPARE(m_settings->text("cloudAPIKeyField"), QStringLiteral("typed"));
    }

    void anUnlistedLocalModelIsAppendedOnce()
    {
        m_settings->saved({{"chat", {{"local_model", "llama3:70b"}}}});
        QCOMPARE(m_settings->find<QComboBox>("localModelPopup")->count(), 4);
        QCOMPARE(m_settings->find<QComboBox>("localModelPopup")->itemText(3), QStringLiteral("llama3:70b"));
        QCOMPARE(m_settings->title("localModelPopup"), QStringLiteral("llama3:70b"));
        m_settings->press("Reload");
        QCOMPARE(m_settings->find<QComboBox>("localModelPopup")->count(), 4);
        QCOMPARE(m_settings->title("localModelPopup"), QStringLiteral("llama3:70b"));
    }

    void aListedLocalModelIsNotAppended()
    {
        m_settings->saved({{"chat", {{"local_model", "qwen3-coder:30b"}}}});
        QCOMPARE(m_settings->find<QComboBox>("localModelPopup")->count(), 3);
        QCOMPARE(m_settings->find<QComboBox>("localModelPopup")->currentIndex(), 2);
    }

    void anUnlistedModeSelectsTheFirstWhateverWasSelected()
    {
        m_settings->choose("chatModePopup", "cloud");
        m_settings->choose("cloudProviderPopup", "kimi");
        m_settings->saved({{"chat", {{"mode", "remote"}, {"cloud_provider", "acme"}}}});
        m_settings->press("Reload");
        QCOMPARE(m_settings->title("chatModePopup"), QStringLiteral("local"));
        QCOMPARE(m_settings->title("cloudProviderPopup"), QStringLiteral("openai"));
    }

    void reloadDiscardsEdits()
    {
        m_settings->saved(fullDocument());
        m_settings->type("coreURLField", QStringLiteral("http://edited"));
        m_settings->find<QCheckBox>("autoTovaniButton")->click();
        m_settings->choose("chatModePopup", "local");
        m_settings->press("Reload");
        QCOMPARE(m_settings->text("coreURLField"), QStringLiteral("http://core:1"));
        QCOMPARE(m_settings->isOn("autoTovaniButton"), false);
        QCOMPARE(m_settings->title("chatModePopup"), QStringLiteral("cloud"));
        QCOMPARE(m_settings->backend.count("save_nelo_settings"), 0);
    }

    void savesTheDocumentInOneCall()
    {
        m_settings->saved({{"core", {{"auto_discovery", false}}}});
        m_settings->find<QCheckBox>("coreAutoDiscoveryButton")->click();
        m_settings->find<QCheckBox>("autoTovaniButton")->click();
        m_settings->choose("chatModePopup", "cloud");
        m_settings->choose("localModelPopup", "qwen3:8b");
        m_settings->choose("cloudProviderPopup", "deepseek");
        m_settings->type("coreURLField", QStringLiteral("http://core"));
        m_settings->type("cloudModelField", QStringLiteral("deepseek-chat"));
        m_settings->type("cloudAPIKeyField", QStringLiteral("sk-密"));
        m_settings->type("cloudSkillsCatalogURLField", QStringLiteral("https://server/c.json"));
        m_settings->type("tovaniPathField", QStringLiteral("/opt/tovani"));
        m_settings->press("Save");
        const char* const document = R"({"version":1,)"
                                     R"("core":{"url":"http://core","auto_discovery":true},)"
                                     R"("chat":{"mode":"cloud","local_model":"qwen3:8b","cloud_provider":"deepseek",)"
                                     R"("cloud_model":"deepseek-chat","cloud_api_key":"sk-密"},)"
                                     R"("tovani":{"auto_download_on_chat":false,"path":"/opt/tovani"},)"
                                     R"("cloud_skills":{"catalog_url":"https://server/c.json"}})";
        QCOMPARE(m_settings->sentDocument().dump(), std::string(document));
        QCOMPARE(m_settings->backend.calls().size(), std::size_t(2)); // and the load
    }

    void savesWhatIsTypedTrimmedAndLeavesTheFieldsAlone()
    {
        m_settings->type("coreURLField", QStringLiteral(" http://core\n"));
        m_settings->press("Save");
        QVERIFY(m_settings->sentDocument()["core"]["url"] == "http://core");
        QCOMPARE(m_settings->text("coreURLField"), QStringLiteral(" http://core\n"));
    }

    void savesTheFirstTitlesWhereNothingIsSelected()
    {
        for (const char* popup : {"chatModePopup", "localModelPopup", "cloudProviderPopup"})
            m_settings->find<QComboBox>(popup)->setCurrentIndex(-1);
        m_settings->press("Save");
        const Json chat = m_settings->sentDocument()["chat"];
        QVERIFY(chat["mode"] == "local");
        QVERIFY(chat["local_model"] == "qwen3:30b");
        QVERIFY(chat["cloud_provider"] == "openai");
    }

    void sendsBackWhatItLoaded()
    {
        m_settings->saved(fullDocument());
        m_settings->press("Save");
        QVERIFY(m_settings->sentDocument() == fullDocument());
    }

    void anEmptyTovaniPathIsSentAsTheDefaultAndStaysEmpty()
    {
        m_settings->type("tovaniPathField", QString());
        m_settings->press("Save");
        const QString path = m_settings->backend.home().path(QStringLiteral(".nelo/tovani"));
        QVERIFY(m_settings->sentDocument()["tovani"]["path"] == Json(path));
        QCOMPARE(m_settings->text("tovaniPathField"), QString());
    }

    void saysWhereTheDocumentWasSaved_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QString>("status");
        QTest::newRow("a path") << QByteArray("{\"path\":\"/家/settings.json\"}")
                                << QStringLiteral("Settings saved: /家/settings.json");
        QTest::newRow("no path") << QByteArray("{}") << QStringLiteral("Settings saved: (unknown)");
        QTest::newRow("nothing") << QByteArray("null") << QStringLiteral("Settings saved: (unknown)");
        QTest::newRow("a list") << QByteArray(R"([{"path":"x"}])") << QStringLiteral("Settings saved: (unknown)");
        QTest::newRow("an empty path is one") << QByteArray(R"({"path":""})") << QStringLiteral("Settings saved: ");
        QTest::newRow("a path that is null")
            << QByteArray(R"({"path":null})") << QStringLiteral("Settings saved: <null>");
        QTest::newRow("a number") << QByteArray(R"({"path":7})") << QStringLiteral("Settings saved: 7");
    }

    void saysWhereTheDocumentWasSaved()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QString, status);
        m_settings->backend.answer("save_nelo_settings", Json::parse(reply.toStdString()));
        m_settings->press("Save");
        QCOMPARE(m_settings->status(), status);
    }

    void aFailedSaveLeavesTheForm()
    {
        m_settings->saved(fullDocument());
        m_settings->type("coreURLField", QStringLiteral(" edited "));
        m_settings->backend.raise("save_nelo_settings", "OSError", "no space left on device");
        m_settings->press("Save");
        QVERIFY(m_settings->status().startsWith(QStringLiteral("ERROR: ")));
        QVERIFY(m_settings->status().contains(QStringLiteral("no space left on device")));
        QCOMPARE(m_settings->text("coreURLField"), QStringLiteral(" edited "));
        QCOMPARE(m_settings->text("cloudAPIKeyField"), QStringLiteral("sk-1"));
        QCOMPARE(m_settings->title("cloudProviderPopup"), QStringLiteral("deepseek"));
    }

    void aHelperThatDiesIsShownAndTheNextSaveWorks()
    {
        m_settings->view();
        m_settings->backend.script("save_nelo_settings", {{{"exit", 1}}});
        m_settings->press("Save");
        QCOMPARE(m_settings->status(), QStringLiteral("ERROR: backend helper terminated"));
        m_settings->backend.answer("save_nelo_settings", {{"path", "/s"}});
        m_settings->press("Save");
        QCOMPARE(m_settings->status(), QStringLiteral("Settings saved: /s"));
    }

    void refreshingTheCatalogueSavesFirst()
    {
        m_settings->type("cloudSkillsCatalogURLField", QStringLiteral("https://new/c.json"));
        m_settings->press("Refresh Catalog");
        const std::vector<ScriptedBackend::Call> calls = m_settings->backend.calls();
        QCOMPARE(calls.size(), std::size_t(3));
        QCOMPARE(calls[1].function, std::string("save_nelo_settings"));
        QVERIFY(calls[1].args.at(0)["cloud_skills"]["catalog_url"] == "https://new/c.json");
        QVERIFY((calls[2] == ScriptedBackend::Call{"refresh_cloud_skills_via_core", Json::array()}));
    }

    void saysHowManySkillsTheCatalogueHas_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QString>("count");
        QTest::newRow("a number") << QByteArray(R"({"count":12})") << QStringLiteral("12");
        QTest::newRow("none") << QByteArray("{}") << QStringLiteral("0");
        QTest::newRow("nothing") << QByteArray("null") << QStringLiteral("0");
        QTest::newRow("a list") << QByteArray("[1,2]") << QStringLiteral("0");
        QTest::newRow("a text, as it is") << QByteArray(R"({"count":"%1 <b>"})") << QStringLiteral("%1 <b>");
        QTest::newRow("true") << QByteArray(R"({"count":true})") << QStringLiteral("1");
        QTest::newRow("null, which is described") << QByteArray(R"({"count":null})") << QStringLiteral("<null>");
    }

    void saysHowManySkillsTheCatalogueHas()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QString, count);
        m_settings->backend.answer("refresh_cloud_skills_via_core", Json::parse(reply.toStdString()));
        m_settings->press("Refresh Catalog");
        QCOMPARE(m_settings->status(),
                 QStringLiteral("Cloud catalog refreshed (") + count + QStringLiteral(" skills)."));
    }

    void aFailedRefreshIsShown()
    {
        m_settings->backend.raise("refresh_cloud_skills_via_core", "OSError", "no such host");
        m_settings->press("Refresh Catalog");
        QVERIFY(m_settings->status().startsWith(QStringLiteral("ERROR: ")));
        QVERIFY(m_settings->status().contains(QStringLiteral("no such host")));
    }

    void theCatalogueIsRefreshedAlsoWhenSavingFails()
    {
        m_settings->backend.raise("save_nelo_settings", "OSError", "no space left on device");
        m_settings->press("Refresh Catalog");
        QCOMPARE(m_settings->status(), QStringLiteral("Cloud catalog refreshed (3 skills)."));
    }

    void twoViewsDoNotWatchEachOther()
    {
        m_settings->view();
        SettingsViewController other;
        other.loadViewIfNeeded();
        const auto* field = other.findChild<QLineEdit*>(QStringLiteral("coreURLField"));
        m_settings->type("coreURLField", QStringLiteral("http://core"));
        m_settings->press("Save");
        m_settings->saved({{"core", {{"url", "http://core"}}}});
        QCOMPARE(field->text(), QString());
        other.loadSettings();
        QCOMPARE(field->text(), QStringLiteral("http://core"));
    }

    void aHugeTextIsShownAndSavedWhole()
    {
        const std::string huge(100'000, 'x');
        m_settings->saved({{"core", {{"url", huge}}}, {"chat", {{"local_model", huge}}}});
        m_settings->press("Save");
        const Json sent = m_settings->sentDocument();
        QVERIFY(sent["core"]["url"] == huge);
        QVERIFY(sent["chat"]["local_model"] == huge);
    }

private:
    std::optional<SettingsFixture> m_settings;
};

QTEST_MAIN(TestSettingsViewController)
#include "TestSettingsViewController.moc"
