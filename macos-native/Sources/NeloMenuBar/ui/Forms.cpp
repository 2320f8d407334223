#include "ui/Forms.h"

#include "ui/Labels.h"
#include "ui/TextScale.h"

#include <QHBoxLayout>
#include <QLineEdit>

#include <limits>

QHBoxLayout* formRow(Label* label, QWidget* field, FormRowMetrics metrics)
{
    constexpr int minimumFieldWidth = 220; // also with larger text, because a field scrolls
    label->setFont(fontOfSize(label->font(), 13));
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label->setFixedWidth(scaledToFont(metrics.labelWidth));
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
    line->setForegroundRole(QPalette::Mid); // fainter than text
    return line;
}
