#pragma once

#include "shell/primitives/ViewController.h"

#include <QPointer>
#include <QTimer>

#include <chrono>
#include <memory>
#include <optional>

class JsonTable;
class Label;
class NeloWindow;
class QHBoxLayout;
struct Agent;

/// The Agents tab: lists the agents of this machine, keeps the list fresh while it is in front, and creates, adopts,
/// renames, configures and deletes agents. Backend calls block.
class AgentsViewController final : public ViewController
{
    Q_OBJECT

public:
    /// While it is visible, it refreshes itself each time that `refreshInterval` is over.
    explicit AgentsViewController(QWidget* parent = nullptr,
                                  std::chrono::milliseconds refreshInterval = std::chrono::seconds(5));

    /// Loads the table anew. Does nothing while the view is in a window that is not the active one: behind another
    /// window or a dialog the backend is left alone.
    void refreshAgents();
    /// Asks for a new agent's ecosystem and name, and has it created or, for openclaw, set up in a terminal.
    void addAgent();
    /// Asks for the selected agent's new name; a discovered agent becomes a managed one with it.
    void adoptOrRename();
    /// Has the selected openclaw agent's runtime configured in a terminal.
    void runConfigure();
    /// Opens a window with the configuration file of the selected agent's ecosystem, which is made if there is none.
    void openConfigEditor();
    /// Deletes the selected managed agent and its workspace, once that was confirmed.
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
    Label* m_summaryLabel = nullptr;        // child of this
    Label* m_statusLabel = nullptr;         // child of this
    std::unique_ptr<QTimer> m_refreshTimer; // exists while the view is visible
    QPointer<NeloWindow> m_lastEditor;      // owns itself
};
