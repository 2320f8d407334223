#include "shell/primitives/NeloWindow.h"

#include "shell/primitives/ViewController.h"
#include "ui/TextScale.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QHideEvent>
#include <QScreen>
#include <QScrollArea>
#include <QShortcut>
#include <QVBoxLayout>
#include <QWindow>

#include <utility>

namespace {

/// Assistive technology looks for windows by their role; a plain widget has none.
QAccessibleInterface* windowInterface(const QString& /*className*/, QObject* object)
{
    auto* window = qobject_cast<NeloWindow*>(object);
    return window ? new QAccessibleWidget(window, QAccessible::Window) : nullptr;
}

} // namespace

NeloWindow::NeloWindow(const QString& title, QSize contentSize)
    : QWidget(nullptr, Qt::Window), m_contentSize(scaledWindowSize(contentSize))
{
    QAccessible::installFactory(windowInterface); // once, however often it is asked for
    setWindowTitle(title);
    const auto* closing = new QShortcut(QKeySequence::Close, this); // Command-W, Control-W
    connect(closing, &QShortcut::activated, this, &QWidget::close);
    constexpr QMargins usualFrame(4, 32, 4, 4); // the window's own is known once it is on the screen
    placeOnScreen(usualFrame);
}

/// Gives the window its smallest size and, in the middle of the screen, its place.
void NeloWindow::placeOnScreen(const QMargins& frame)
{
    const QRect available = screen()->availableGeometry();
    setMinimumSize(m_contentSize.boundedTo(available.marginsRemoved(frame).size()));
    resize(minimumSize());
    QRect framed = rect().marginsAdded(frame);
    framed.moveCenter(available.center());
    move(framed.topLeft().x() < available.left() ? available.left() : framed.left(),
         framed.topLeft().y() < available.top() ? available.top() : framed.top());
}

void NeloWindow::setContentViewController(ViewController* controller)
{
    auto* scroll = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidgetResizable(true);
    scroll->setWidget(controller);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(scroll);
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

void NeloWindow::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() != QEvent::ActivationChange || !isActiveWindow() || std::exchange(m_hasKnownFrame, true))
        return;
    const QMargins frame = windowHandle()->frameMargins();
    const QRect available = screen()->availableGeometry();
    const bool isOrdinary = !(windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen));
    const bool fits = minimumSize() == m_contentSize && available.contains(geometry().marginsAdded(frame));
    if (isOrdinary && size() == minimumSize() && !fits)
        placeOnScreen(frame);
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
