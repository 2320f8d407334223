#include "platform/Platform.h"
#include "platform/SingleInstance.h"
#include "platform/TerminationSignals.h"
#include "shell/NeloMenuBarApp.h"
#include "ui/Alerts.h"
#include "ui/ApplicationIcon.h"
#include "ui/TextScale.h"

#include <QApplication>

#include <cstdio>
#include <memory>

namespace {

/// Removes relative base folders from the environment of this process and its children. With them, files would depend
/// on the folder in which the program is started. The XDG base directory standard ignores relative folders; Qt does
/// not.
void ignoreRelativeBaseFolders()
{
    for (const char* name :
         {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME", "XDG_RUNTIME_DIR"}) {
        if (qEnvironmentVariableIsSet(name) && !qgetenv(name).startsWith('/'))
            qunsetenv(name);
    }
}

bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

/// Returns why this start ends without having asked the first instance to come to the front, or null when it goes on.
const char* refusal(SingleInstance::Role role)
{
    switch (role) {
    case SingleInstance::Role::OtherDisplay:
        return "Nelo is already running on another display.";
    case SingleInstance::Role::Unreachable:
        return "Nelo is already running and does not answer.";
    default:
        return nullptr;
    }
}

} // namespace

int main(int argc, char* argv[])
{
    ignoreRelativeBaseFolders();
    SingleInstance instance;
    if (instance.role() == SingleInstance::Role::Later)
        return 0;
    const char* reason = refusal(instance.role());
    if (reason) {
        std::fprintf(stderr, "%s\n", reason);
        if (!hasDisplay())
            return 1;
    }

    const QByteArray startupId = qgetenv("DESKTOP_STARTUP_ID"); // Qt removes it and keeps it for the first window
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Nelo"));
    QApplication::setApplicationName(QStringLiteral("NeloMenuBar"));
    QApplication::setApplicationVersion(QStringLiteral(NELO_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("example.nelo.NeloMenuBar"));
    QApplication::setQuitOnLastWindowClosed(false);
    setDefaultFont();
    if (reason) {
        setApplicationIcon();
        showAlert(nullptr, QStringLiteral("Nelo"), QString::fromUtf8(reason));
        return 1;
    }

    std::unique_ptr<Platform> platform = makePlatform();
    platform->setActivationToken(startupId); // this start shows no window
    NeloMenuBarApp delegate(std::move(platform));
    // This comes before the rest of quitting, which may take a while: a later start that got an answer now would end,
    // and no program would be left.
    QObject::connect(&application, &QCoreApplication::aboutToQuit, &instance, &SingleInstance::stopListening);
    QObject::connect(&application, &QCoreApplication::aboutToQuit, &delegate,
                     &NeloMenuBarApp::applicationWillTerminate);
    const TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &TerminationSignals::received, &instance, &SingleInstance::stopListening);
    QObject::connect(&terminationSignals, &TerminationSignals::received, &delegate, &NeloMenuBarApp::quitApp);
    QObject::connect(&instance, &SingleInstance::activationRequested, &delegate, &NeloMenuBarApp::comeForward);
    instance.listen();

    QMetaObject::invokeMethod(&delegate, &NeloMenuBarApp::applicationDidFinishLaunching, Qt::QueuedConnection);
    return QApplication::exec();
}
