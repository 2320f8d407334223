#include "shell/primitives/NeloWindow.h"

#include "shell/primitives/ViewController.h"
#include "ui/TextScale.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QHideEvent>
#include <QScreen>
#include <QShortcut>
#include <QVBoxLayout>
#include <QWindow>

namespace {

/// Assistive technology looks for windows by their role; a plain widget has none.
QAccessibleInterface* windowInterface(const QString& /*className*/, QObject* object)
{
    auto* window = qobject_cast<NeloWindow*>(object);
    return window ? new QAccessibleWidget(window, QAccessible::Window) : nullptr;
}

} // namespace

NeloWindow::NeloWindow(const QString& title, QSize contentSize) : QWidget(nullptr, Qt::Window)
{
    QAccessible::installFactory(windowInterface); // once, however often it is asked for
    setWindowTitle(title);
    const QSize size = windowGrownWithText(contentSize);
    setMinimumSize(size);
    resize(size);
    const auto* closing = new QShortcut(QKeySequence::Close, this); // Command-W, Control-W
    connect(closing, &QShortcut::activated, this, &QWidget::close);
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
    // A window manager may leave a window minimised as long as it has a modal dialog; a window that is shown anew it
    // must show.
    if (isMinimized() && QApplication::activeModalWidget())
        hide();
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

void NeloWindow::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    if (event->spontaneous() || !windowHandle())
        return; // minimised: it may still be the one with the keyboard
    // Qt 6.4 has the application listen to a window each time it gets the keyboard, and stop when it loses it to
    // another window, but not when it is closed: after a hundred openings every change of focus would be told a hundred
    // times.
    disconnect(windowHandle(), &QWindow::focusObjectChanged, qApp, nullptr);
}
