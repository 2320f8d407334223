// From the choice of "Settings..." to the painted window, against the same form made bare. The helper runs already, and
// its answer to the one call is part of our time. Openings of the two alternate on one core; ratios of their times are
// printed as median, minimum and maximum.

#include "BareSettingsWindow.h"
#include "Comparison.h"
#include "backend/NeloBackend.h"
#include "shell/NeloMenuBarApp.h"
#include "shell/platform/StatusArea.h"

#include <QApplication>

namespace {

double openOurs()
{
    NeloMenuBarApp app(desktopStatusArea());
    return Comparison::millisecondsToPaint([&app] { app.openSettings(); });
}

double openBare()
{
    std::unique_ptr<QWidget> window;
    return Comparison::millisecondsToPaint([&window] {
        window = makeBareSettingsWindow();
        window->show();
        window->raise();
        window->activateWindow();
    });
}

} // namespace

int main(int argc, char* argv[])
{
    Comparison::useOneCore();
    const QTemporaryDir folder;
    Comparison::useBackend(folder, "def load_nelo_settings(): return {}\n");
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Nelo"));
    QApplication::setApplicationName(QStringLiteral("BenchSettingsWindow"));
    QApplication::setQuitOnLastWindowClosed(false);
    Comparison::compare("settings window", openOurs, openBare);
    NeloBackend::shutdown();
    QDir::setCurrent(QDir::rootPath());
    return 0;
}
