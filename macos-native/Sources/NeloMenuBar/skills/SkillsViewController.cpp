#include "skills/SkillsViewController.h"

#include "backend/BackendReply.h"
#include "backend/NeloBackend.h"
#include "base/Ecosystem.h"
#include "shell/primitives/ScrollingForm.h"
#include "skills/NewsSourceSection.h"
#include "skills/SkillEntryEditor.h"
#include "skills/SkillInstaller.h"
#include "skills/core/SkillReports.h"
#include "skills/core/SkillTexts.h"
#include "ui/Buttons.h"
#include "ui/FlowLayout.h"
#include "ui/Forms.h"
#include "ui/JsonTable.h"
#include "ui/Labels.h"
#include "ui/PopUpButton.h"
#include "ui/ScrollingLabel.h"
#include "ui/SingleLine.h"
#include "ui/TextScale.h"

#include <QHeaderView>
#include <QVBoxLayout>

namespace {

const QString noSelection = QStringLiteral("Select a skill");

PopUpButton* makePopup(const QString& objectName, const QStringList& titles, QWidget* parent)
{
    auto* popup = new PopUpButton(parent);
    popup->setObjectName(objectName);
    popup->addItems(titles);
    popup->setMinimumWidth(scaledToFont(90)); // a long title is elided, so that the buttons have room
    return popup;
}

/// Returns a row with `popup` and its caption. The caption is never elided.
QHBoxLayout* captioned(const QString& caption, PopUpButton* popup)
{
    auto* label = new Label(caption, popup->parentWidget());
    label->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    label->setBuddy(popup);
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    row->addWidget(label);
    row->addWidget(popup);
    return row;
}

JsonTable* makeTable(QWidget* parent)
{
    auto* table = new JsonTable({{.key = "name", .title = {}, .width = 300, .text = skillTitle}}, {"skillKey"}, parent);
    table->setObjectName(QStringLiteral("tableView"));
    table->setAccessibleName(QStringLiteral("Skills"));
    table->setMinimumWidth(240);
    table->horizontalHeader()->hide();
    table->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    return table;
}

} // namespace

SkillsViewController::SkillsViewController(QWidget* parent)
    : ViewController(parent), m_installer(new SkillInstaller(this))
{}

void SkillsViewController::loadView()
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(16, 16, 16, 14);
    column->setSpacing(8);
    column->addLayout(makeControlRow());
    column->addLayout(makeDescription());
    column->addLayout(makeBody());
    m_statusLabel = new StatusLine(QStringLiteral("statusLabel"), QStringLiteral("Ready"), this);
    column->addWidget(m_statusLabel);
    connectPieces();
}

QLayout* SkillsViewController::makeControlRow()
{
    auto* row = new FlowLayout;
    row->setSpacing(8);
    const auto addPopup = [=, this](const QString& caption, const QString& objectName, const QStringList& titles) {
        PopUpButton* popup = makePopup(objectName, titles, this);
        row->addLayout(captioned(caption, popup));
        return popup;
    };
    const auto addButton = [=, this](const QString& title, void (SkillsViewController::*action)()) {
        row->addWidget(makeButton(title, this, this, action));
    };
    m_ecosystemPopup = addPopup(QStringLiteral("Ecosystem"), QStringLiteral("ecosystemPopup"), Ecosystem::all());
    m_agentPopup = addPopup(QStringLiteral("Agent"), QStringLiteral("agentPopup"), {});
    m_configModePopup = addPopup(QStringLiteral("Config Mode"), QStringLiteral("configModePopup"),
                                 {dynamicMode, QStringLiteral("json")});
    addButton(QStringLiteral("Refresh"), &SkillsViewController::refreshSkills);
    addButton(QStringLiteral("Load Config"), &SkillsViewController::loadEntry);
    addButton(QStringLiteral("Install Skill"), &SkillsViewController::installSkill);
    addButton(QStringLiteral("Install Cloud Skill"), &SkillsViewController::installCloudSkill);
    return row;
}

QLayout* SkillsViewController::makeDescription()
{
    constexpr int lines = 4; // enough for a short description, the key, the path and the variables
    m_metaLabel = new ScrollingLabel(lines, this);
    m_metaLabel->setObjectName(QStringLiteral("metaLabel"));
    m_metaLabel->setText(noSelection);
    m_configPathLabel = makeSecondaryLabel(QStringLiteral("configPathLabel"), {}, this);
    m_skillDirsLabel = makeSecondaryLabel(QStringLiteral("skillDirsLabel"), {}, this);

    auto* column = new QVBoxLayout;
    column->setSpacing(4);
    column->addWidget(m_metaLabel);
    column->addWidget(m_configPathLabel);
    column->addWidget(m_skillDirsLabel);
    return column;
}

QLayout* SkillsViewController::makeBody()
{
    m_tableView = makeTable(this);
    auto* form = new ScrollingForm(this);
    m_entryEditor = new SkillEntryEditor(form->documentView());
    m_sourceSection = new NewsSourceSection(form->documentView());
    m_sourceSection->setObjectName(QStringLiteral("sourceSection"));
    auto* formColumn = new QVBoxLayout(form->documentView());
    formColumn->setContentsMargins(0, 0, 8, 0); // a gap before the scroll bar
    formColumn->setSpacing(12);
    formColumn->addWidget(m_entryEditor);
    formColumn->addWidget(m_sourceSection);

    QPushButton* save = makeButton(QStringLiteral("Save Config"), this, m_entryEditor, &SkillEntryEditor::saveEntry);
    auto* editorColumn = new QVBoxLayout;
    editorColumn->setSpacing(8);
    editorColumn->addWidget(form);
    editorColumn->addWidget(save, 0, Qt::AlignLeft); // below the form, so that it does not scroll away

    auto* body = new QHBoxLayout;
    body->setSpacing(16);
    body->addWidget(m_tableView, 2);
    body->addLayout(editorColumn, 3);
    return body;
}

void SkillsViewController::connectPieces()
{
    connect(m_ecosystemPopup, &QComboBox::activated, this, &SkillsViewController::ecosystemChanged);
    connect(m_configModePopup, &QComboBox::activated, this, &SkillsViewController::configModeChanged);
    connect(m_tableView, &JsonTable::selectionDidChange, this, &SkillsViewController::tableViewSelectionDidChange);
    connect(m_entryEditor, &SkillEntryEditor::entryLoaded, this, &SkillsViewController::reloadSourcesIfShown);
    connect(m_entryEditor, &SkillEntryEditor::statusChanged, m_statusLabel, &StatusLine::showAndAnnounce);
    connect(m_sourceSection, &NewsSourceSection::statusChanged, m_statusLabel, &StatusLine::showAndAnnounce);
    connect(m_installer, &SkillInstaller::statusChanged, m_statusLabel, &StatusLine::showAndAnnounce);
}

void SkillsViewController::viewDidLoad()
{
    ViewController::viewDidLoad();
    refreshAgentOptions();
    refreshSkills();
    configModeChanged();
}

void SkillsViewController::ecosystemChanged()
{
    refreshAgentOptions();
    refreshSkills();
}

void SkillsViewController::configModeChanged()
{
    m_entryEditor->updateConfigModeUI(m_configModePopup->titleOfSelectedItem(dynamicMode));
}

void SkillsViewController::refreshAgentOptions()
{
    AgentsReport report = agentsReport(BackendReply(NeloBackend::call("list_local_agents")), currentEcosystem());
    m_currentAgentRows = std::move(report.agents);
    m_agentPopup->clear();
    for (const QString& title : std::as_const(report.titles))
        m_agentPopup->addItem(singleLine(title));
}

void SkillsViewController::refreshSkills()
{
    const QString ecosystem = currentEcosystem();
    m_entryEditor->setEcosystem(ecosystem);
    const BackendReply reply(NeloBackend::call("list_skills", {ecosystem}));
    SkillsReport report = skillsReport(reply, ecosystem);
    m_tableView->selectionModel()->clear(); // otherwise the table would keep the selection
    m_tableView->setRows(std::move(report.rows));
    if (!reply.isError()) {
        showAdapterSnapshot(ecosystem);
        m_metaLabel->setText(noSelection);
        m_entryEditor->reset();
        m_sourceSection->reset();
    }
    m_statusLabel->showAndAnnounce(report.status);
}

void SkillsViewController::showAdapterSnapshot(const QString& ecosystem)
{
    const AdapterReport report = adapterReport(BackendReply(NeloBackend::call("get_adapter_snapshot", {ecosystem})));
    m_configPathLabel->setText(report.configPath);
    m_skillDirsLabel->setText(report.skillFolders);
}

void SkillsViewController::tableViewSelectionDidChange()
{
    const std::optional<Json> skill = m_tableView->selectedRow();
    if (!skill)
        return; // a click beside the rows does not clear the editor
    m_metaLabel->setText(skillDescription(*skill));
    m_statusLabel->showAndAnnounce(QStringLiteral("Selected ") + skillName(*skill) + u'.');
    m_entryEditor->setSelectedSkill(skill);
    m_sourceSection->showFor(skill);
    m_entryEditor->loadEntry();
}

void SkillsViewController::reloadSourcesIfShown()
{
    if (m_sourceSection->isSocialMediaAlert())
        m_sourceSection->reloadSources();
}

void SkillsViewController::loadEntry()
{
    m_entryEditor->loadEntry();
}

void SkillsViewController::installSkill()
{
    m_installer->installSkill(currentEcosystem(), selectedAgent());
}

void SkillsViewController::installCloudSkill()
{
    m_installer->installCloudSkill(currentEcosystem());
}

QString SkillsViewController::currentEcosystem() const
{
    return m_ecosystemPopup->titleOfSelectedItem(Ecosystem::openclaw);
}

std::optional<Json> SkillsViewController::selectedAgent() const
{
    const int index = m_agentPopup->currentIndex();
    const bool isAgent =
        index >= 0 && index < std::ssize(m_currentAgentRows); // the only other item says why there is no agent
    return isAgent ? std::optional(m_currentAgentRows[static_cast<std::size_t>(index)]) : std::nullopt;
}
