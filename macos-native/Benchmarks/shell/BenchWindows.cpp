// From the choice of a menu item to the painted window, against the same controls made bare. The helper runs already;
// its answers are part of our time, and of the bare console's too, which makes the same calls.

#include "BareWindows.h"
#include "Comparison.h"
#include "backend/NeloBackend.h"
#include "platform/Platform.h"
#include "shell/NeloMenuBarApp.h"

#include <QApplication>

namespace {

const char* const backend = R"(
count = 0
def have(rows):
    global count
    count = rows
def sync_local_agents_to_core():
    return [{"id": "openclaw-%06d" % i, "name": "agent %d" % i, "ecosystem": "openclaw", "origin": "managed",
             "state": "available", "lastSeen": "2025-01-01T09:30:00Z", "workspace": "/home/me/.openclaw/agents/%d" % i,
             "createdAt": "2025-01-01T09:30:00Z"} for i in range(count)]
def list_local_agents():
    return sync_local_agents_to_core()
def openclaw_runtime_status():
    return {"installed": True, "running": True, "version": "1.0", "port": 18789}
def list_skills(ecosystem):
    return [{"name": "skill %d" % i, "skillKey": "skill-%d" % i, "source": "workspace", "description": "What it does.",
             "path": "/home/me/skills/%d" % i, "requiredEnv": ["TOKEN"], "primaryEnv": "TOKEN"} for i in range(count)]
def get_adapter_snapshot(ecosystem):
    return {"configPath": "/c", "skillDirs": ["/a", "/b"]}
def load_nelo_settings():
    return {}
)";

double openSettings()
{
    NeloMenuBarApp app(makePlatform());
    return Comparison::millisecondsToPaint([&app] { app.openSettings(); });
}

double openConsole()
{
    NeloMenuBarApp app(makePlatform());
    return Comparison::millisecondsToPaint([&app] { app.openNeloConsole(); });
}

void bringForward(QWidget& window)
{
    window.show();
    window.raise();
    window.activateWindow();
}

double openBareSettings()
{
    std::unique_ptr<QWidget> window;
    return Comparison::millisecondsToPaint([&window] {
        window = makeBareSettingsWindow();
        bringForward(*window);
    });
}

double openBareConsole()
{
    std::unique_ptr<QWidget> window;
    return Comparison::millisecondsToPaint([&window] {
        ConsoleReplies replies;
        replies.agents = NeloBackend::call("sync_local_agents_to_core");
        replies.runtime = NeloBackend::call("openclaw_runtime_status");
        replies.localAgents = NeloBackend::call("list_local_agents");
        replies.skills = NeloBackend::call("list_skills", {"openclaw"});
        NeloBackend::call("get_adapter_snapshot", {"openclaw"});
        NeloBackend::call("load_nelo_settings");
        window = makeBareConsoleWindow(replies);
        bringForward(*window);
    });
}

} // namespace

int main(int argc, char* argv[])
{
    Pairs::useOneCore();
    const QTemporaryDir folder;
    Comparison::useBackend(folder, backend);
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Nelo"));
    QApplication::setApplicationName(QStringLiteral("BenchWindows"));
    QApplication::setQuitOnLastWindowClosed(false);
    Pairs::compare("settings window", 0, 51, openSettings, openBareSettings);
    for (const int rows : {10, 100, 1000}) {
        NeloBackend::call("have", {rows});
        Pairs::compare("first console opening", rows, 51, openConsole, openBareConsole);
    }
    NeloBackend::shutdown();
    QDir::setCurrent(QDir::rootPath());
    return 0;
}
