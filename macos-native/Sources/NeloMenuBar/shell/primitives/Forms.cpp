#include "shell/primitives/Forms.h"

#include "shell/primitives/Labels.h"
#include "shell/primitives/NeloFlippedView.h"
#include "shell/primitives/TextScale.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLineEdit>

#include <limits>

QHBoxLayout* formRow(Label* label, QWidget* field, FormRowMetrics metrics)
{
    constexpr int minimumFieldWidth = 220; // with larger text too: what is in a field scrolls
    label->setFont(fontOfSize(label->font(), 13));
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label->setFixedWidth(grownWithText(metrics.labelWidth));
    label->setBuddy(field);

    field->setMinimumWidth(minimumFieldWidth);
    const bool grows = field->sizePolicy().expandingDirections().testFlag(Qt::Horizontal);

    auto* row = new QHBoxLayout;
    row->setSpacing(metrics.spacing);
    row->addWidget(label);
    row->addWidget(field, 1, grows ? Qt::Alignment() : Qt::AlignLeft);
    return row;
}

QHBoxLayout* formRow(const QString& label, QWidget* field, FormRowMetrics metrics)
{
    return formRow(new Label(label, field->parentWidget()), field, metrics);
}

QLineEdit* makeField(const QString& placeholder, QWidget* parent)
{
    auto* field = new QLineEdit(parent);
    field->setPlaceholderText(placeholder);
    field->setMaxLength(std::numeric_limits<int>::max());
    return field;
}

Label* makeSectionHeader(const QString& title, QWidget* parent)
{
    auto* header = new Label(title, parent);
    header->setFont(fontOfSize(header->font(), 15, QFont::DemiBold));
    return header;
}

QFrame* makeSeparator(QWidget* parent)
{
    auto* line = new QFrame(parent);
    line->setFrameStyle(static_cast<int>(QFrame::HLine) | static_cast<int>(QFrame::Plain));
    line->setForegroundRole(QPalette::Mid); // it parts, and does not call for attention
    return line;
}

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
