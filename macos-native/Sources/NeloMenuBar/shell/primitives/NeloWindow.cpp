#include "shell/primitives/NeloWindow.h"

#include "shell/primitives/ViewController.h"

#include <QGuiApplication>
#include <QScreen>
#include <QVBoxLayout>

NeloWindow::NeloWindow(const QString& title, QSize contentSize) : QWidget(nullptr, Qt::Window)
{
    setWindowTitle(title);
    setMinimumSize(contentSize);
    resize(contentSize);
    move(QGuiApplication::primaryScreen()->availableGeometry().center() - rect().center());
}

void NeloWindow::setContentViewController(ViewController* controller)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(controller);
    controller->loadViewIfNeeded();
}

void NeloWindow::makeKeyAndOrderFront()
{
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}
