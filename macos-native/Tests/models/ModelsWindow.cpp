// The Models tab in a window of its own, for the console has no place for it yet.

#include "backend/NeloBackend.h"
#include "models/ModelsViewController.h"
#include "shell/primitives/NeloWindow.h"
#include "ui/LegibleStyle.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    LegibleStyle::install();
    NeloWindow window(QStringLiteral("Models"), {1000, 620});
    window.setContentViewController(new ModelsViewController);
    window.makeKeyAndOrderFront();
    const int status = QApplication::exec();
    NeloBackend::shutdown();
    return status;
}
