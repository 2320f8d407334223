#include "platform/BaseFolders.h"
#include "platform/InstanceDoor.h"
#include "platform/InstanceLock.h"
#include "platform/RuntimeFolder.h"
#include "platform/StatusArea.h"
#include "platform/TerminationSignals.h"
#include "shell/NeloMenuBarApp.h"

#include <QApplication>

#include <optional>

int main(int argc, char* argv[])
{
    ignoreRelativeBaseFolders();
    const std::optional<std::filesystem::path> folder = runtimeFolder();
    const std::optional<InstanceLock> lock = folder ? std::make_optional<InstanceLock>(*folder) : std::nullopt;
    if (lock && lock->role() == InstanceLock::Role::Later)
        return 0; // the first one has been told

    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Nelo"));
    QApplication::setApplicationName(QStringLiteral("NeloMenuBar"));
    QApplication::setApplicationVersion(QStringLiteral(NELO_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("example.nelo.NeloMenuBar"));
    QApplication::setQuitOnLastWindowClosed(false);

    std::optional<InstanceDoor> door;
    // First of all: while the rest ends, which may take a while, a start that knocked would have told nobody.
    QObject::connect(&application, &QCoreApplication::aboutToQuit, &application, [&door] { door.reset(); });
    NeloMenuBarApp delegate(desktopStatusArea());
    QObject::connect(&application, &QCoreApplication::aboutToQuit, &delegate,
                     &NeloMenuBarApp::applicationWillTerminate);
    const TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &TerminationSignals::received, &delegate, &NeloMenuBarApp::quitApp);

    if (folder) {
        door.emplace(*folder);
        QObject::connect(&*door, &InstanceDoor::knocked, &delegate, &NeloMenuBarApp::reopen);
    }

    QMetaObject::invokeMethod(&delegate, &NeloMenuBarApp::applicationDidFinishLaunching, Qt::QueuedConnection);
    return QApplication::exec();
}
