#include "shell/primitives/NeloWindow.h"

#include "shell/primitives/ViewController.h"
#include "ui/ApplicationIcon.h"
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

constexpr QMargins usualFrame(4, 32, 4, 4); // the real frame is known only when the window is on the screen

/// Gives a window its role for assistive technology, which finds windows by the role. A plain widget has none.
QAccessibleInterface* windowInterface(const QString& /*className*/, QObject* object)
{
    auto* window = qobject_cast<NeloWindow*>(object);
    return window ? new QAccessibleWidget(window, QAccessible::Window) : nullptr;
}

} // namespace

NeloWindow::NeloWindow(const QString& title, QSize contentSize)
    : QWidget(nullptr, Qt::Window), m_contentSize(scaledWindowSize(contentSize))
{
    QAccessible::installFactory(windowInterface); // only the first call has an effect
    setApplicationIcon();
    setWindowTitle(title);
    const auto* closing = new QShortcut(QKeySequence::Close, this); // Command-W, Control-W
    connect(closing, &QShortcut::activated, this, &QWidget::close);
    placeOnScreen(usualFrame);
}

/// Sets the window's minimum size, and moves the window to the middle of the screen.
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
    // Some window managers keep a window minimised while it has a modal dialog. They show a window that is hidden and
    // shown again.
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
    if (event->type() != QEvent::ActivationChange || !isActiveWindow() || std::exchange(m_hasBeenActive, true))
        return;
    const bool isOrdinary = !(windowState() & (Qt::WindowMaximized | Qt::WindowFullScreen));
    const QRect available = screen()->availableGeometry();
    const auto fitsIn = [&](const QMargins& frame) {
        return minimumSize() == m_contentSize && available.contains(geometry().marginsAdded(frame));
    };
    // With this much room the real frame makes no difference. To ask for it is to wait until the display has drawn.
    if (!isOrdinary || size() != minimumSize() || fitsIn(2 * usualFrame))
        return;
    const QMargins frame = windowHandle()->frameMargins();
    if (!fitsIn(frame))
        placeOnScreen(frame);
}

void NeloWindow::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    if (event->spontaneous() || !windowHandle())
        return; // the window was minimised and may still have the keyboard focus
    // Qt 6.4 connects the application to a window each time the window gets the focus, and disconnects it when another
    // window gets the focus, but not when the window is closed. After a hundred openings the application would get
    // every change of focus a hundred times.
    disconnect(windowHandle(), &QWindow::focusObjectChanged, qApp, nullptr);
}
