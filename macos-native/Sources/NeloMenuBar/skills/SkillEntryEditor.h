#pragma once

#include "base/Json.h"

#include <QWidget>

#include <optional>

class DynamicFieldsStack;
class Label;
class PopUpButton;
class QLineEdit;
class VerbatimTextEdit;

/// The title of the mode in which an environment is edited as fields.
inline const QString dynamicMode = QStringLiteral("dynamic");

/// Edits the configuration of the selected skill in the current ecosystem: whether it is enabled, its credential, and
/// its environment variables, as fields or as JSON text. Backend calls block. A failure is told in an alert.
class SkillEntryEditor final : public QWidget
{
    Q_OBJECT

public:
    explicit SkillEntryEditor(QWidget* parent = nullptr);

    /// Sets the ecosystem whose entries are loaded and saved.
    void setEcosystem(const QString& ecosystem) { m_ecosystem = ecosystem; }
    /// Shows the controls that `skill` needs. `loadEntry()` shows the skill's entry in them.
    void setSelectedSkill(const std::optional<Json>& skill);
    /// Selects no skill, and shows an empty entry.
    void reset();
    /// Shows the environment as fields when `mode` is `dynamicMode`, and as JSON text in any other mode. Call it also
    /// before the editor is first shown.
    void updateConfigModeUI(const QString& mode);

    /// Shows the entry of the selected skill.
    void loadEntry();
    /// Saves what is shown as the entry of the selected skill.
    void saveEntry();

signals:
    void statusChanged(const QString& status);
    /// An entry was loaded. `statusChanged` follows.
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
