#include "shell/primitives/ScrollingForm.h"

#include "shell/primitives/NeloFlippedView.h"

#include <QApplication>

ScrollingForm::ScrollingForm(QWidget* parent) : QScrollArea(parent), m_documentView(new NeloFlippedView)
{
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus); // the way to a control leads over the controls
    setWidgetResizable(true);
    setWidget(m_documentView);
    viewport()->setAutoFillBackground(false);
    m_documentView->setAutoFillBackground(false);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* focused) { followFocus(focused); });
}

ScrollingForm::~ScrollingForm()
{
    // The fields go with the base class, and one that has the keyboard gives it up then: too late for us to hear of it.
    disconnect(qApp, nullptr, this, nullptr);
}

void ScrollingForm::followFocus(QWidget* focused)
{
    if (QApplication::mouseButtons() != Qt::NoButton)
        return; // a click: what is pressed must not move away before it is released
    if (m_documentView->isAncestorOf(focused))
        ensureWidgetVisible(focused);
}
