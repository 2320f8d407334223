#include "shell/legibility/Gallery.h"

#include "agents/AgentDialogs.h"
#include "agents/ConfigEditorWindowController.h"
#include "base/Provider.h"
#include "chat/ApiKeyDialog.h"
#include "chat/transcript/TranscriptView.h"
#include "models/ModelsViewController.h"
#include "shell/FakePlatform.h"
#include "shell/LauncherViewController.h"
#include "shell/primitives/NeloWindow.h"
#include "support/Controls.h"
#include "support/Files.h"
#include "ui/Alerts.h"

#include <QApplication>
#include <QMenu>
#include <QSettings>
#include <QTabWidget>
#include <QTableView>

using namespace Qt::StringLiterals;

Gallery::Gallery() : m_platform(new FakePlatform), m_app(std::unique_ptr<Platform>(m_platform))
{
    QCoreApplication::setOrganizationName(u"Nelo"_s);
    QCoreApplication::setApplicationName(u"Gallery"_s);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_backend.home().path(u".config"_s));
    const Json agent{{"id", "main"},           {"agentId", "main"}, {"name", "侦察员"}, {"ecosystem", "openclaw"},
                     {"origin", "discovered"}, {"state", "online"}, {"workspace", "/w"}};
    m_backend.answer("sync_local_agents_to_core", Json::array({agent, {{"id", "b"}, {"ecosystem", "kimi"}}}));
    m_backend.answer("list_local_agents", Json::array({agent}));
    m_backend.answer("list_core_agents", Json::array({agent}));
    m_backend.answer("openclaw_runtime_status", {{"os", "linux"}, {"installed", true}, {"path", "/usr/bin/openclaw"}});
    m_backend.answer("load_nelo_settings", Json::object());
    m_backend.answer("list_skills",
                     {{{"name", "weather"}, {"skillKey", "w"}, {"primaryEnv", "KEY"}, {"requiredEnv", {"KEY", "CITY"}}},
                      {{"name", "social-media-alert"}, {"skillKey", "s"}, {"source", "workspace"}}});
    m_backend.answer("get_adapter_snapshot", {{"configPath", "/home/me/.openclaw"}, {"skillDirs", {"/a", "/b"}}});
    m_backend.answer("get_skill_entry", {{"enabled", true}, {"env", {{"CITY", "北京"}}}});
    m_backend.answer("list_news_sources", {{{"name", "News"}, {"type", "rss"}, {"id", "n1"}}});
    m_backend.answer("list_cloud_skills_via_core", {{{"key", "first"}, {"name", "First 一"}, {"version", "1.2"}}});
    m_backend.answer("list_remote_models", {{{"name", "qwen3:30b"}, {"provider", "ollama"}, {"installed", true}}});
    m_backend.answer("list_local_models", {{{"name", "qwen3:8b"}, {"size", "5 GB"}}});
    m_backend.answer("list_model_download_tasks", {{{"id", "1"}, {"model", "qwen3:30b"}, {"status", "running"}}});
    m_app.applicationDidFinishLaunching();
}

Gallery::~Gallery() = default;

std::vector<Gallery::Picture> Gallery::pictures()
{
    return {
        {u"the menu"_s,
         [this] {
             menu()->popup({});
             look(menu());
         }},
        {u"the launcher"_s,
         [this] {
             lookAtNew(u"Nelo Launcher"_s, {240, 200}, new LauncherViewController(menu()->actions()));
         }},
        {u"the chat"_s,
         [this] {
             auto* transcript = chat()->findChild<TranscriptView*>();
             transcript->append(Speaker::User, u"为什么天空是蓝色的？ Why is the sky blue?"_s);
             transcript->append(Speaker::Nelo, u"因为瑞利散射。 Because of Rayleigh scattering."_s);
             Controls::press(*chat(), u"Send"_s); // for a status
             look(chat());
         }},
        {u"the Agents tab"_s,
         [this] {
             tab(u"Agents"_s)->findChild<QTableView*>()->selectRow(0);
             look(tab(u"Agents"_s)->window());
         }},
        {u"the Runtime tab"_s, [this] { look(tab(u"Runtime"_s)->window()); }},
        {u"the Tovani tab"_s, [this] { look(tab(u"Tovani"_s)->window()); }},
        {u"the Skills tab with a skill's fields"_s, [this] { look(skills(0)->window()); }},
        {u"the Skills tab with a skill as JSON"_s,
         [this] {
             auto* mode = skills(0)->findChild<QComboBox*>(u"configModePopup"_s);
             Controls::choose(mode, u"json"_s);
             look(mode->window());
             Controls::choose(mode, u"dynamic"_s);
         }},
        {u"the Skills tab with news sources"_s, [this] { look(skills(1)->window()); }},
        {u"the Settings tab"_s, [this] { look(tab(u"Settings"_s)->window()); }},
        {u"the settings"_s,
         [this] {
             m_app.openSettings();
             look(window(u"Nelo Settings"_s));
         }},
        {u"the models"_s,
         [this] {
             lookAtNew(u"Models"_s, {1000, 620}, new ModelsViewController);
         }},
        {u"the configuration editor"_s,
         [this] {
             const QString path = m_backend.home().path(u"openclaw.json"_s);
             Files::create(path, "{\n  \"name\": \"领航员\"\n}\n");
             auto* editor = new ConfigEditorWindowController(u"Config Editor"_s, path, [](bool /*isSaved*/) {});
             editor->window()->makeKeyAndOrderFront();
             look(editor->window());
         }},
        {u"the dialog for a new agent"_s,
         [this] { lookAtDialog([this] { askForNewAgent(tab(u"Agents"_s), u"20260102-030405"_s); }); }},
        {u"the dialog for a new name"_s,
         [this] {
             lookAtDialog([this] { askForName(tab(u"Agents"_s), u"Adopt Agent"_s, u"openclaw/main"_s, u"侦察员"_s); });
         }},
        {u"the question before a deletion"_s,
         [this] {
             const QString question = u"Delete kimi/b and remove its workspace?"_s;
             lookAtDialog([&] { runDialog(tab(u"Agents"_s), u"Delete Agent"_s, question, nullptr, u"Delete"_s); });
         }},
        {u"the dialog for a news source"_s,
         [this] { lookAtDialog([this] { Controls::press(*skills(1), u"Add Source"_s); }); }},
        {u"the dialog for a cloud skill"_s,
         [this] { lookAtDialog([this] { Controls::press(*skills(0), u"Install Cloud Skill"_s); }); }},
        {u"the dialog for a cloud skill's agent"_s,
         [this] {
             lookAtDialog([this] { Controls::press(*skills(0), u"Install Cloud Skill"_s); },
                          {DialogRobot::press(u"Install"_s)});
         }},
        {u"the dialog for an API key"_s,
         [this] {
             Controls::choose(chat()->findChild<QComboBox*>(u"modelPopup"_s), u"deepseek-chat"_s);
             lookAtDialog([this] { Controls::press(*chat(), u"+"_s); });
         }},
        {u"an alert"_s,
         [this] {
             const QString text = u"没有文件. No such file. "_s.repeated(40);
             lookAtDialog([&] { showAlert(tab(u"Agents"_s), u"Install Failed"_s, text); });
         }},
    };
}

void Gallery::showEach(const Look& look)
{
    m_look = look;
    for (const Picture& picture : pictures()) {
        m_name = picture.name;
        m_hasLooked = false;
        picture.show();
        QVERIFY2(m_hasLooked, qPrintable(m_name + u" was not shown"_s));
    }
}

void Gallery::layOut()
{
    constexpr int nestedLayouts = 8;
    for (int turn = 0; turn < nestedLayouts; ++turn)
        QCoreApplication::processEvents();
}

QMenu* Gallery::menu() const
{
    return m_platform->menu();
}

QWidget* Gallery::window(const QString& title) const
{
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (qobject_cast<NeloWindow*>(widget) && widget->windowTitle() == title && widget->isVisible())
            return widget;
    }
    return nullptr;
}

/// Opens the console's tab with the title `label` and returns it.
QWidget* Gallery::tab(const QString& label)
{
    m_app.openNeloConsole();
    auto* tabs = window(u"Nelo Console"_s)->findChild<QTabWidget*>(u"tabView"_s);
    for (int index = 0; index < tabs->count(); ++index) {
        if (tabs->tabText(index) == label)
            tabs->setCurrentIndex(index);
    }
    return tabs->currentWidget();
}

/// Opens the Skills tab, selects the skill in `row`, and returns the tab.
QWidget* Gallery::skills(int row)
{
    QWidget* view = tab(u"Skills"_s);
    view->findChild<QTableView*>(u"tableView"_s)->selectRow(row);
    return view;
}

/// Opens the chat's window and returns it.
QWidget* Gallery::chat()
{
    m_app.openNelo();
    return window(u"Nelo"_s);
}

void Gallery::look(QWidget* window)
{
    QVERIFY(QTest::qWaitForWindowExposed(window));
    if (window->windowType() != Qt::Popup) {
        window->activateWindow(); // the list of a pop-up may have been in front
        QVERIFY(QTest::qWaitFor([window] { return window->isActiveWindow(); }));
    }
    layOut();
    m_look(m_name, *window);
    m_hasLooked = true;
    window->close();
}

void Gallery::lookAtNew(const QString& title, QSize size, ViewController* content)
{
    NeloWindow shown(title, size);
    shown.setContentViewController(content);
    shown.makeKeyAndOrderFront();
    look(&shown);
}

void Gallery::lookAtDialog(const std::function<void()>& open, std::vector<DialogRobot::Answer> before)
{
    before.emplace_back([this](QDialog& dialog) { look(&dialog); });
    const DialogRobot robot(std::move(before));
    open();
    for (QWidget* widget : QApplication::topLevelWidgets())
        widget->close();
}
