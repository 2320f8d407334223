#include "shell/NeloMenuBarApp.h"
#include "shell/platform/TerminationSignals.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Nelo"));
    QApplication::setApplicationName(QStringLiteral("NeloMenuBar"));
    QApplication::setQuitOnLastWindowClosed(false);

    NeloMenuBarApp delegate;
    QObject::connect(&application, &QCoreApplication::aboutToQuit, &delegate,
                     &NeloMenuBarApp::applicationWillTerminate);
    const TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &TerminationSignals::received, &delegate, &NeloMenuBarApp::quitApp);

    QMetaObject::invokeMethod(&delegate, &NeloMenuBarApp::applicationDidFinishLaunching, Qt::QueuedConnection);
    return QApplication::exec();
}
