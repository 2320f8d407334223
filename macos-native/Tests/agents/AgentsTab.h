#pragma once

#include "agents/AgentsViewController.h"
#include "shell/primitives/NeloWindow.h"
#include "support/Controls.h"
#include "support/Files.h"
#include "support/ScriptedBackend.h"
#include "ui/JsonTable.h"

#include <QLabel>
#include <QPointer>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>

/// A row of the registry.
inline Json agentRow(const std::string& ecosystem, const std::string& id, const std::string& origin = "managed")
{
    return {{"id", id}, {"name", id + " 名"}, {"ecosystem", ecosystem}, {"origin", origin}, {"workspace", "/w"}};
}

/// An Agents tab for tests: on the real helper, which answers as it is told, with a home folder of its own.
class AgentsTab final
{
public:
    /// The tab is not loaded yet, and in no window.
    AgentsTab() : controller(new AgentsViewController)
    {
        controller->resize(1000, 600);
        for (const char* function :
             {"add_local_agent", "adopt_local_agent", "rename_local_agent", "delete_local_agent",
              "launch_openclaw_install_or_configure_interactive", "launch_openclaw_configure_interactive"})
            backend.answer(function, Json::object());
        answer(Json::array());
    }
    AgentsTab(const AgentsTab&) = delete;
    AgentsTab& operator=(const AgentsTab&) = delete;
    ~AgentsTab() { delete controller; }

    /// From now on a refresh answers `reply`.
    void answer(const Json& reply) { backend.answer("sync_local_agents_to_core", reply); }
    /// Has the tab, in a console window in front, show the agents of `reply`.
    void show(const Json& reply)
    {
        answer(reply);
        controller->loadViewIfNeeded();
        window = std::make_unique<NeloWindow>(QStringLiteral("Nelo Console"), QSize(1000, 600));
        window->setContentViewController(controller);
        window->makeKeyAndOrderFront();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        QTRY_VERIFY(timer());
    }

    /// The same with the one agent `row`, which is selected.
    void showSelected(const Json& row)
    {
        show(Json::array({row}));
        table()->selectRow(0);
    }

    JsonTable* table() const { return controller->findChild<JsonTable*>(QStringLiteral("tableView")); }
    QString summary() const { return controller->findChild<QLabel*>(QStringLiteral("summaryLabel"))->text(); }
    QString status() const { return controller->findChild<QLabel*>(QStringLiteral("statusLabel"))->text(); }
    /// None while the tab is not visible.
    QTimer* timer() const { return controller->findChild<QTimer*>(QStringLiteral("refreshTimer")); }
    void press(const char* title) const { Controls::press(*controller, QString::fromLatin1(title)); }

    /// What the status line says while the refresh that ends `action` is under way, which then answers `reply`.
    QString statusBeforeRefresh(const Json& reply, const std::function<void()>& action)
    {
        return backend.seenDuring(
            "sync_local_agents_to_core", reply, [this] { return status(); }, action);
    }

    int refreshes() const { return backend.count("sync_local_agents_to_core"); }
    /// What was asked of the backend besides refreshes.
    std::vector<ScriptedBackend::Call> actions() const
    {
        std::vector<ScriptedBackend::Call> calls = backend.calls();
        std::erase_if(calls, [](const auto& call) { return call.function == "sync_local_agents_to_core"; });
        return calls;
    }

    ScriptedBackend backend;
    std::unique_ptr<NeloWindow> window;
    QPointer<AgentsViewController> controller; // the window's, once it is in one
};
