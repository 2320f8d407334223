#include "skills/DynamicFieldsStack.h"

#include "ui/Forms.h"
#include "ui/Labels.h"

#include <QLineEdit>
#include <QVBoxLayout>

DynamicFieldsStack::DynamicFieldsStack(QWidget* previousInTabOrder, QWidget* parent)
    : QWidget(parent), m_previousInTabOrder(previousInTabOrder)
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
}

Json DynamicFieldsStack::env() const
{
    Json env = Json::object();
    for (const DynamicEnvField& variable : m_dynamicEnvFields) {
        const QString text = variable.field->text().trimmed();
        if (!text.isEmpty())
            env[variable.name.toStdString()] = text;
    }
    return env;
}

void DynamicFieldsStack::clear()
{
    m_dynamicEnvFields.clear();
    delete m_content;
    m_content = nullptr;
}

void DynamicFieldsStack::rebuildDynamicFields(const std::vector<DynamicVariable>& variables)
{
    clear();
    m_content = new QWidget; // without a parent until it is complete, so that it is laid out once
    auto* column = new QVBoxLayout(m_content);
    column->setContentsMargins({});
    column->setSpacing(8);
    if (variables.empty()) {
        auto* note = new WrappingLabel(QStringLiteral("This skill does not require dynamic env fields."), m_content);
        note->setEmphasis(Emphasis::Secondary);
        column->addWidget(note);
    } else {
        auto* heading = new Label(QStringLiteral("Dynamic ENV Fields"), m_content);
        heading->setFont(fontOfSize(heading->font(), 12, QFont::DemiBold));
        column->addWidget(heading);
    }
    for (const DynamicVariable& variable : variables) {
        QLineEdit* field = makeField(variable.name, m_content);
        column->addLayout(formRow(variable.caption, field, {.labelWidth = 160, .spacing = 8}));
        m_dynamicEnvFields.push_back({variable.name, field});
    }
    layout()->addWidget(m_content);
    m_content->show(); // the layout would show it only after another event

    QWidget* previous = m_previousInTabOrder;
    for (const DynamicEnvField& variable : m_dynamicEnvFields) {
        setTabOrder(previous, variable.field);
        previous = variable.field;
    }
}

void DynamicFieldsStack::showTexts(const std::function<QString(const QString& name)>& textFor)
{
    for (const DynamicEnvField& variable : m_dynamicEnvFields)
        variable.field->setText(textFor(variable.name));
}
