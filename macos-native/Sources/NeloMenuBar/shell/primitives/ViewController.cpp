#include "shell/primitives/ViewController.h"

#include <QHideEvent>
#include <QShowEvent>

#include <utility>

ViewController::ViewController(QWidget* parent) : QWidget(parent)
{}

void ViewController::loadViewIfNeeded()
{
    if (std::exchange(m_isLoaded, true))
        return;
    loadView();
    viewDidLoad();
}

QSize ViewController::sizeHint() const
{
    return isHidden() ? QSize(0, 0) : QWidget::sizeHint();
}

QSize ViewController::minimumSizeHint() const
{
    return isHidden() ? QSize(0, 0) : QWidget::minimumSizeHint();
}

bool ViewController::hasHeightForWidth() const
{
    return !isHidden() && QWidget::hasHeightForWidth();
}

int ViewController::heightForWidth(int width) const
{
    return isHidden() ? 0 : QWidget::heightForWidth(width);
}

void ViewController::viewDidLoad()
{}

void ViewController::viewDidAppear()
{}

void ViewController::viewWillDisappear()
{}

void ViewController::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    loadViewIfNeeded();
    // At this event the view is not on the screen yet, and other children of the window may still be hidden.
    if (!event->spontaneous())
        QMetaObject::invokeMethod(this, &ViewController::announceAppearance, Qt::QueuedConnection);
}

void ViewController::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    if (!event->spontaneous() && std::exchange(m_hasAppeared, false))
        viewWillDisappear();
}

void ViewController::announceAppearance()
{
    if (!isVisible() || std::exchange(m_hasAppeared, true))
        return;
    viewDidAppear();
}
