#pragma once

#include "skills/core/SkillVariables.h"

#include <QWidget>

#include <functional>

class QLineEdit;

/// A field for each environment variable of the selected skill.
class DynamicFieldsStack final : public QWidget
{
    Q_OBJECT

public:
    /// The keyboard comes to the fields from `previousInTabOrder`.
    explicit DynamicFieldsStack(QWidget* previousInTabOrder, QWidget* parent = nullptr);

    bool hasFields() const { return !m_dynamicEnvFields.empty(); }
    /// What is typed, as an environment: trimmed texts by name, without those that are empty then.
    Json env() const;

    /// Has no field and says nothing: there is no skill.
    void clear();
    /// Has an empty field for each of `variables` in their order; says so if there is none.
    void rebuildDynamicFields(const std::vector<DynamicVariable>& variables);
    /// Sets every field to what `textFor` says of its variable.
    void showTexts(const std::function<QString(const QString& name)>& textFor);

private:
    /// The field of a variable.
    struct DynamicEnvField
    {
        QString name;
        QLineEdit* field; // child of the content
    };

    QWidget* m_previousInTabOrder; // not ours
    QWidget* m_content = nullptr;  // child of this
    std::vector<DynamicEnvField> m_dynamicEnvFields;
};
