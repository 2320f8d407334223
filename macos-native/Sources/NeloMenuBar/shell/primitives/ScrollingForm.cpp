#include "shell/primitives/ScrollingForm.h"

#include <QApplication>

ScrollingForm::ScrollingForm(QWidget* parent) : QScrollArea(parent), m_documentView(new NeloFlippedView)
{
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus); // Tab goes from control to control, not to the area
    setWidgetResizable(true);
    setWidget(m_documentView);
    viewport()->setAutoFillBackground(false);
    m_documentView->setAutoFillBackground(false);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* focused) { followFocus(focused); });
}

ScrollingForm::~ScrollingForm()
{
    // The base class deletes the fields. A field with the focus loses it then, when this object is half destroyed.
    disconnect(qApp, nullptr, this, nullptr);
}

void ScrollingForm::followFocus(QWidget* focused)
{
    if (QApplication::mouseButtons() != Qt::NoButton)
        return; // a click gave the focus: the control must not move before the button is released
    if (m_documentView->isAncestorOf(focused))
        ensureWidgetVisible(focused);
}
