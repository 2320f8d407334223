#pragma once

#include "shell/primitives/ViewController.h"

#include <QPointer>
#include <QTimer>

#include <chrono>
#include <memory>
#include <optional>

class JsonTable;
class NeloWindow;
class QHBoxLayout;
class StatusLine;
struct Agent;

/// The Agents tab: lists the agents of this machine, refreshes the list while its window is active, and creates,
/// adopts, renames, configures and deletes agents. Backend calls block.
class AgentsViewController final : public ViewController
{
    Q_OBJECT

public:
    /// The list is refreshed each `refreshInterval` while the view is visible.
    explicit AgentsViewController(QWidget* parent = nullptr,
                                  std::chrono::milliseconds refreshInterval = std::chrono::seconds(5));

    /// Loads the table again. Does nothing while the view's window is not the active one: behind another window or a
    /// dialog no backend call is made.
    void refreshAgents();
    /// Asks for the ecosystem and the name of a new agent, and creates it. For openclaw, starts the setup in a terminal
    /// instead.
    void addAgent();
    /// Asks for a new name for the selected agent. A discovered agent becomes a managed one with this name.
    void adoptOrRename();
    /// Starts the configuration of the selected openclaw agent's runtime in a terminal.
    void runConfigure();
    /// Opens a window with the configuration file of the selected agent's ecosystem. Makes the file if there is none.
    void openConfigEditor();
    /// Deletes the selected managed agent and its workspace, after the user has confirmed it.
    void deleteSelected();

protected:
    void loadView() override;
    void viewDidLoad() override;
    void viewDidAppear() override;
    void viewWillDisappear() override;

private:
    QHBoxLayout* makeButtonRow();
    void loadAgents();
    void setUpOpenClaw();
    std::optional<Agent> selectedAgent();

    std::chrono::milliseconds m_refreshInterval;
    JsonTable* m_tableView = nullptr;       // child of this
    StatusLine* m_summaryLabel = nullptr;   // child of this
    StatusLine* m_statusLabel = nullptr;    // child of this
    std::unique_ptr<QTimer> m_refreshTimer; // exists while the view is visible
    QPointer<NeloWindow> m_lastEditor;      // owns itself
};
