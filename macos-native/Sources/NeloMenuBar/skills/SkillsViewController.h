#pragma once

#include "base/Json.h"
#include "shell/primitives/ViewController.h"

#include <optional>

class JsonTable;
class Label;
class NewsSourceSection;
class PopUpButton;
class QLayout;
class ScrollingLabel;
class SkillEntryEditor;
class SkillInstaller;
class StatusLine;

/// The Skills tab: lists the skills of one ecosystem. It contains the editor of the selected skill's entry, the section
/// of news sources and the installer of skills. Backend calls block.
class SkillsViewController final : public ViewController
{
    Q_OBJECT

public:
    explicit SkillsViewController(QWidget* parent = nullptr);

    /// Loads the agents of the current ecosystem into the pop-up.
    void refreshAgentOptions();
    /// Loads the skills of the current ecosystem into the list, and selects none. After a failure the list is empty,
    /// and the editor stays as it is.
    void refreshSkills();
    /// Loads the agents and the skills of the ecosystem that the user has chosen.
    void ecosystemChanged();
    /// Shows the environment in the mode that the user has chosen.
    void configModeChanged();
    /// Shows the entry of the selected skill.
    void loadEntry();
    /// Installs a package from this machine into the selected agent.
    void installSkill();
    /// Installs a skill of the cloud catalogue.
    void installCloudSkill();

protected:
    void loadView() override;
    void viewDidLoad() override;

private:
    QLayout* makeControlRow();
    QLayout* makeDescription();
    QLayout* makeBody();
    void connectPieces();

    void tableViewSelectionDidChange();
    void showAdapterSnapshot(const QString& ecosystem);
    void reloadSourcesIfShown();
    QString currentEcosystem() const;
    std::optional<Json> selectedAgent() const;

    SkillInstaller* m_installer; // these are children of this
    PopUpButton* m_ecosystemPopup = nullptr;
    PopUpButton* m_agentPopup = nullptr;
    PopUpButton* m_configModePopup = nullptr;
    ScrollingLabel* m_metaLabel = nullptr;
    Label* m_configPathLabel = nullptr;
    Label* m_skillDirsLabel = nullptr;
    JsonTable* m_tableView = nullptr;
    SkillEntryEditor* m_entryEditor = nullptr;
    NewsSourceSection* m_sourceSection = nullptr;
    StatusLine* m_statusLabel = nullptr;

    std::vector<Json> m_currentAgentRows; // in the order of the pop-up
};
