#include "skills/SkillEntryEditor.h"

#include "skills/DynamicFieldsStack.h"
#include "skills/core/SkillEntry.h"
#include "skills/core/SkillVariables.h"
#include "ui/Alerts.h"
#include "ui/Colors.h"
#include "ui/Forms.h"
#include "ui/Labels.h"
#include "ui/PopUpButton.h"
#include "ui/TextScale.h"
#include "ui/VerbatimTextEdit.h"

#include <QEvent>
#include <QFontDatabase>
#include <QLineEdit>
#include <QVBoxLayout>

namespace {

const QString emptyEnv = QStringLiteral("{}");
const QString apiKeyCaption = QStringLiteral("API Key");
constexpr FormRowMetrics rowMetrics{.labelWidth = 160, .spacing = 8};

VerbatimTextEdit* makeEnvTextView(QWidget* parent)
{
    auto* view = new VerbatimTextEdit(parent);
    view->setText(emptyEnv);
    view->setObjectName(QStringLiteral("envTextView"));
    view->setAccessibleName(QStringLiteral("ENV"));
    view->setFont(fontOfSize(QFontDatabase::systemFont(QFontDatabase::FixedFont), 12));
    view->setTabChangesFocus(true);
    view->setMinimumHeight(scaledToFont(110));
    return view;
}

/// Makes the text editable or not. It can be selected with the mouse and the keyboard in both cases.
void setEditable(VerbatimTextEdit* view, bool isEditable)
{
    view->setReadOnly(!isEditable);
    view->setTextInteractionFlags(view->textInteractionFlags() | Qt::TextSelectableByMouse
                                  | Qt::TextSelectableByKeyboard);
}

} // namespace

SkillEntryEditor::SkillEntryEditor(QWidget* parent)
    : QWidget(parent), m_enabledPopup(new PopUpButton(this)), m_apiKeyLabel(new Label(apiKeyCaption, this)),
      m_apiKeyField(makeField(apiKeyCaption, this)), m_envLabel(new Label(QStringLiteral("ENV (JSON object)"), this)),
      m_envTextView(makeEnvTextView(this)), m_dynamicFieldsStack(new DynamicFieldsStack(m_envTextView, this))
{
    m_enabledPopup->setObjectName(QStringLiteral("enabledPopup"));
    m_enabledPopup->addItems({QStringLiteral("true"), QStringLiteral("false")});
    m_apiKeyLabel->setObjectName(QStringLiteral("apiKeyLabel"));
    m_apiKeyField->setObjectName(QStringLiteral("apiKeyField"));
    m_apiKeyField->setEchoMode(QLineEdit::Password);
    m_envLabel->setObjectName(QStringLiteral("envLabel"));
    m_dynamicFieldsStack->setObjectName(QStringLiteral("dynamicFieldsStack"));
    layOut();
}

void SkillEntryEditor::layOut()
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(8);
    column->addLayout(formRow(QStringLiteral("Enabled"), m_enabledPopup, rowMetrics));
    column->addLayout(formRow(m_apiKeyLabel, m_apiKeyField, rowMetrics));
    column->addWidget(m_envLabel);
    column->addWidget(m_envTextView);
    column->addWidget(m_dynamicFieldsStack);
}

void SkillEntryEditor::setSelectedSkill(const std::optional<Json>& skill)
{
    m_selectedSkill = skill;
    updateCredentialUI();
    rebuildDynamicFields();
}

void SkillEntryEditor::reset()
{
    m_currentConfigObject = Json::object();
    m_enabledPopup->selectItemWithTitle(QStringLiteral("true"));
    setSelectedSkill(std::nullopt);
    m_envTextView->setText(emptyEnv);
}

void SkillEntryEditor::updateConfigModeUI(const QString& mode)
{
    m_isDynamic = mode == dynamicMode;
    m_dynamicFieldsStack->setVisible(m_isDynamic);
    setEditable(m_envTextView, !m_isDynamic);
    applyEnvColor();
    m_envLabel->setText(m_isDynamic ? QStringLiteral("ENV (JSON snapshot)") : QStringLiteral("ENV (JSON object)"));
}

/// Shows a snapshot in the secondary color, and a text that can be edited in the ordinary one. Both come from the
/// palette; a change of palette calls this again.
void SkillEntryEditor::applyEnvColor()
{
    QPalette colors;
    if (m_isDynamic)
        colors.setColor(QPalette::Text, Colors::secondaryText(palette()));
    m_envTextView->setPalette(colors);
}

void SkillEntryEditor::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        applyEnvColor();
}

void SkillEntryEditor::updateCredentialUI()
{
    const bool isNeeded = m_selectedSkill && !primaryVariable(*m_selectedSkill).isEmpty();
    const QString caption = isNeeded ? credentialCaption(*m_selectedSkill) : apiKeyCaption;
    m_apiKeyLabel->setVisible(isNeeded);
    m_apiKeyLabel->setText(caption);
    m_apiKeyField->setVisible(isNeeded);
    m_apiKeyField->setPlaceholderText(isNeeded ? caption : QStringLiteral("Not required"));
    if (!isNeeded)
        m_apiKeyField->clear();
}

void SkillEntryEditor::rebuildDynamicFields()
{
    if (m_selectedSkill)
        m_dynamicFieldsStack->rebuildDynamicFields(dynamicVariables(*m_selectedSkill));
    else
        m_dynamicFieldsStack->clear();
}

void SkillEntryEditor::loadEntry()
{
    const std::optional<Json> skill = requireSelection();
    if (!skill)
        return;
    const QString skillKey = textOf(*skill, "skillKey");
    const std::optional<BackendReply> reply =
        callOrAlert(this, QStringLiteral("Load Failed"), "get_skill_entry", {m_ecosystem, skillKey});
    if (!reply)
        return;
    const SkillEntry entry = readSkillEntry(reply->object());
    m_enabledPopup->selectItemWithTitle(entry.isEnabled ? QStringLiteral("true") : QStringLiteral("false"));
    m_apiKeyField->setText(primaryVariable(*skill).isEmpty() ? QString() : entry.apiKey);
    m_currentConfigObject = entry.config;
    m_dynamicFieldsStack->showTexts([&](const QString& name) { return variableText(entry, *skill, name); });
    m_envTextView->setText(prettyEnv(entry.env));
    emit entryLoaded();
    emit statusChanged(QStringLiteral("Loaded config for ") + skillKey + u'.');
}

void SkillEntryEditor::saveEntry()
{
    const std::optional<Json> skill = requireSelection();
    if (!skill)
        return;
    const std::optional<Json> env = editedEnv();
    if (!env) {
        showAlert(this, QStringLiteral("Invalid JSON"), QStringLiteral("ENV must be a JSON object."));
        return;
    }
    const SkillEntry entry{
        .isEnabled = m_enabledPopup->titleOfSelectedItem({}) == QStringLiteral("true"),
        .apiKey = credentialToSave(*env, primaryVariable(*skill), m_apiKeyField->text()),
        .env = *env,
        .config = m_currentConfigObject,
    };
    const QString skillKey = textOf(*skill, "skillKey");
    if (!callOrAlert(this, QStringLiteral("Save Failed"), "save_skill_entry", {m_ecosystem, skillKey, toJson(entry)}))
        return;
    m_envTextView->setText(prettyEnv(*env));
    emit statusChanged(QStringLiteral("Saved config for ") + skillKey + u'.');
}

/// Returns the selected skill. When there is none, shows an alert and returns nothing; `this` may have been deleted
/// then.
std::optional<Json> SkillEntryEditor::requireSelection()
{
    if (m_selectedSkill)
        return m_selectedSkill;
    showAlert(this, QStringLiteral("No Selection"), QStringLiteral("Select a skill first."));
    return std::nullopt;
}

/// Returns the environment to save. Returns nothing when it is edited as text and the text is no JSON object.
std::optional<Json> SkillEntryEditor::editedEnv() const
{
    if (m_isDynamic && m_dynamicFieldsStack->hasFields())
        return m_dynamicFieldsStack->env();
    return parseObject(m_envTextView->text());
}
