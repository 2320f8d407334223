#pragma once

#include "base/Json.h"

#include <QWidget>

#include <optional>

class DynamicFieldsStack;
class Label;
class PopUpButton;
class QLineEdit;
class VerbatimTextEdit;

/// Edits how the selected skill is configured in the current ecosystem: whether it is enabled, its credential, and its
/// environment variables, as fields or as JSON text. The backend calls block; what fails is told in an alert.
class SkillEntryEditor final : public QWidget
{
    Q_OBJECT

public:
    explicit SkillEntryEditor(QWidget* parent = nullptr);

    /// From now on entries of `ecosystem` are loaded and saved.
    void setEcosystem(const QString& ecosystem) { m_ecosystem = ecosystem; }
    /// Has the controls that `skill` needs; what its entry holds is shown once it is loaded.
    void setSelectedSkill(const std::optional<Json>& skill);
    /// Has no skill, and shows an entry that says nothing.
    void reset();
    /// Has the environment edited as fields where `mode` is "dynamic", and as JSON text in any other. To be called
    /// before the editor is shown, too.
    void updateConfigModeUI(const QString& mode);

    /// Shows the entry of the selected skill.
    void loadEntry();
    /// Saves what is shown as the entry of the selected skill.
    void saveEntry();

signals:
    void statusChanged(const QString& status);
    /// An entry is shown, and the status is about to say so.
    void entryLoaded();

protected:
    void changeEvent(QEvent* event) override;

private:
    void layOut();
    void applyEnvColor();
    void updateCredentialUI();
    void rebuildDynamicFields();
    std::optional<Json> requireSelection();
    std::optional<Json> editedEnv() const;

    QString m_ecosystem;
    std::optional<Json> m_selectedSkill;
    Json m_currentConfigObject = Json::object();
    bool m_isDynamic = true;

    PopUpButton* m_enabledPopup; // these are children of this
    Label* m_apiKeyLabel;
    QLineEdit* m_apiKeyField;
    Label* m_envLabel;
    VerbatimTextEdit* m_envTextView;
    DynamicFieldsStack* m_dynamicFieldsStack;
};
