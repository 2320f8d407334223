#pragma once

#include "skills/core/SkillVariables.h"

#include <QWidget>

#include <functional>

class QLineEdit;

/// The fields for the environment variables of the selected skill.
class DynamicFieldsStack final : public QWidget
{
    Q_OBJECT

public:
    /// The fields follow `previousInTabOrder` in the tab order.
    explicit DynamicFieldsStack(QWidget* previousInTabOrder, QWidget* parent = nullptr);

    bool hasFields() const { return !m_dynamicEnvFields.empty(); }
    /// Returns the environment that is typed: a JSON object with the texts by the variables' names. Texts are without
    /// the blanks around them. Variables with an empty text are left out.
    Json env() const;

    /// Removes all fields and notes, because no skill is selected.
    void clear();
    /// Shows an empty field for each of `variables` in their order, or a note when there is no variable.
    void rebuildDynamicFields(const std::vector<DynamicVariable>& variables);
    /// Sets the text of every field to the one that `textFor` returns for its variable.
    void showTexts(const std::function<QString(const QString& name)>& textFor);

private:
    /// The field of a variable.
    struct DynamicEnvField
    {
        QString name;
        QLineEdit* field; // child of the content
    };

    QWidget* m_previousInTabOrder; // not owned
    QWidget* m_content = nullptr;  // child of this
    std::vector<DynamicEnvField> m_dynamicEnvFields;
};
