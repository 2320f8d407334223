#include "agents/AgentsViewController.h"

#include "agents/AgentDialogs.h"
#include "agents/ConfigEditorWindowController.h"
#include "agents/core/Agent.h"
#include "agents/core/AgentReport.h"
#include "agents/core/ConfigFile.h"
#include "backend/BackendReply.h"
#include "backend/NeloBackend.h"
#include "base/Ecosystem.h"
#include "base/Text.h"
#include "shell/primitives/NeloWindow.h"
#include "ui/Alerts.h"
#include "ui/Buttons.h"
#include "ui/FlowLayout.h"
#include "ui/JsonTable.h"
#include "ui/Labels.h"
#include "ui/TextScale.h"

#include <QDateTime>
#include <QDir>
#include <QHBoxLayout>
#include <QScreen>

namespace {

std::vector<JsonColumn> columns()
{
    return {
        {"id", QStringLiteral("ID"), 150},
        {"name", QStringLiteral("Name"), 180},
        {"ecosystem", QStringLiteral("Ecosystem"), 120},
        {"origin", QStringLiteral("Origin"), 100},
        {"state", QStringLiteral("State"), 160},
        {"lastSeen", QStringLiteral("Last Seen"), 170},
        {"workspace", QStringLiteral("Workspace"), 340},
        {"createdAt", QStringLiteral("Created At"), 170},
    };
}

/// Returns a place for a new window that leaves the title of `window` visible. When that place is too near to the edge
/// of the screen, returns the corner of the screen.
QPoint placeBeside(const QWidget& window)
{
    constexpr QPoint cascade(24, 24);
    constexpr QMargins room(0, 0, 300, 200);
    const QRect available = window.screen()->availableGeometry();
    const QPoint place = window.pos() + cascade;
    return available.marginsRemoved(room).contains(place) ? place : available.topLeft();
}

} // namespace

AgentsViewController::AgentsViewController(QWidget* parent, std::chrono::milliseconds refreshInterval)
    : ViewController(parent), m_refreshInterval(refreshInterval)
{}

void AgentsViewController::loadView()
{
    QHBoxLayout* buttonRow = makeButtonRow();
    m_tableView = new JsonTable(columns(), {"ecosystem", "id"}, this);
    m_tableView->setObjectName(QStringLiteral("tableView"));
    m_tableView->setAccessibleName(QStringLiteral("Agents"));
    m_statusLabel = new StatusLine(QStringLiteral("statusLabel"), QStringLiteral("Ready"), this);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(16, 16, 16, 14);
    column->setSpacing(10);
    column->addLayout(buttonRow);
    column->addWidget(m_tableView, 1);
    column->addWidget(m_statusLabel);
}

QHBoxLayout* AgentsViewController::makeButtonRow()
{
    auto* buttons = new FlowLayout;
    buttons->setSpacing(8);
    const auto add = [this, buttons](const QString& title, void (AgentsViewController::*action)()) {
        buttons->addWidget(makeButton(title, this, this, action));
    };
    add(QStringLiteral("Refresh"), &AgentsViewController::refreshAgents);
    add(QStringLiteral("Add Agent"), &AgentsViewController::addAgent);
    add(QStringLiteral("Config Editor"), &AgentsViewController::openConfigEditor);
    add(QStringLiteral("Run Configure"), &AgentsViewController::runConfigure);
    add(QStringLiteral("Adopt / Rename"), &AgentsViewController::adoptOrRename);
    add(QStringLiteral("Delete"), &AgentsViewController::deleteSelected);
    m_summaryLabel = new StatusLine(QStringLiteral("summaryLabel"), {}, this);
    m_summaryLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_summaryLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed); // the label elides before the buttons wrap
    m_summaryLabel->setMinimumWidth(scaledToFont(90));
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    row->addLayout(buttons);
    row->addWidget(m_summaryLabel, 1);
    return row;
}

void AgentsViewController::viewDidLoad()
{
    ViewController::viewDidLoad();
    refreshAgents();
}

void AgentsViewController::viewDidAppear()
{
    ViewController::viewDidAppear();
    m_refreshTimer = std::make_unique<QTimer>(this);
    m_refreshTimer->setObjectName(QStringLiteral("refreshTimer"));
    connect(m_refreshTimer.get(), &QTimer::timeout, this, &AgentsViewController::refreshAgents);
    m_refreshTimer->setTimerType(Qt::PreciseTimer); // a coarse timer may be a quarter of a second early
    m_refreshTimer->start(m_refreshInterval);
}

void AgentsViewController::viewWillDisappear()
{
    ViewController::viewWillDisappear();
    m_refreshTimer.reset();
}

void AgentsViewController::refreshAgents()
{
    const auto* window = qobject_cast<const NeloWindow*>(QWidget::window());
    if (window && !window->isActiveWindow())
        return;
    loadAgents();
}

/// Loads the table, also while the window is not active. An action calls this to show its result: the window under a
/// dialog that has just closed is not active yet, and a terminal that was started may be the active window now.
void AgentsViewController::loadAgents()
{
    AgentReport report = agentReport(BackendReply(NeloBackend::call("sync_local_agents_to_core")));
    m_tableView->setRows(std::move(report.rows));
    m_summaryLabel->showAndAnnounce(report.summary);
    m_statusLabel->showAndAnnounce(report.status);
}

void AgentsViewController::addAgent()
{
    const QString stamp = compactTimestamp(QDateTime::currentDateTime());
    const QPointer<AgentsViewController> self(this);
    const std::optional<NewAgentChoice> choice = askForNewAgent(this, stamp);
    if (!self || !choice)
        return;
    if (choice->ecosystem == Ecosystem::openclaw) {
        setUpOpenClaw(); // the setup makes the record
        return;
    }
    const NewAgent agent = newAgent(choice->ecosystem, choice->name, stamp, QDir::homePath());
    if (!callOrAlert(this, QStringLiteral("Add Agent Failed"), "add_local_agent",
                     {agent.ecosystem, agent.id, agent.name, agent.workspace}))
        return;
    m_statusLabel->showAndAnnounce(QStringLiteral("Added agent ") + agent.ecosystem + u'/' + agent.id);
    loadAgents();
}

void AgentsViewController::setUpOpenClaw()
{
    if (!callOrAlert(this, QStringLiteral("OpenClaw Setup Failed"), "launch_openclaw_install_or_configure_interactive"))
        return;
    m_statusLabel->showAndAnnounce(
        QStringLiteral("Launched OpenClaw install in Terminal. Refresh after install completes."));
    loadAgents();
}

void AgentsViewController::adoptOrRename()
{
    const std::optional<Agent> agent = selectedAgent();
    if (!agent)
        return;
    const QString title = agent->isManaged() ? QStringLiteral("Rename Agent") : QStringLiteral("Adopt Agent");
    const QPointer<AgentsViewController> self(this);
    const std::optional<QString> newName = askForName(this, title, agent->label(), agent->name);
    if (!self || !newName || newName->isEmpty())
        return;
    const char* const function = agent->isManaged() ? "rename_local_agent" : "adopt_local_agent";
    std::vector<Json> args{agent->ecosystem, agent->id, *newName};
    if (!agent->isManaged())
        args.emplace_back(agent->workspace); // the folder in which the agent was found
    if (!callOrAlert(this, QStringLiteral("Save Failed"), function, args))
        return;
    const QString done = agent->isManaged() ? QStringLiteral("Renamed ") : QStringLiteral("Adopted ");
    m_statusLabel->showAndAnnounce(done + agent->label());
    loadAgents();
}

void AgentsViewController::runConfigure()
{
    const std::optional<Agent> agent = selectedAgent();
    if (!agent)
        return;
    if (agent->ecosystem.toLower() != Ecosystem::openclaw) {
        showAlert(this, QStringLiteral("Unsupported"),
                  QStringLiteral("Only openclaw configure is supported right now."));
        return;
    }
    if (callOrAlert(this, QStringLiteral("Configure Failed"), "launch_openclaw_configure_interactive"))
        m_statusLabel->showAndAnnounce(QStringLiteral("Launched openclaw configure."));
}

void AgentsViewController::openConfigEditor()
{
    const std::optional<Agent> agent = selectedAgent();
    if (!agent)
        return;
    const QString path = Ecosystem::configPath(agent->ecosystem, QDir::homePath());
    createConfigFile(path);
    const auto onSave = [self = QPointer<AgentsViewController>(this), path](bool isSaved) {
        if (self && isSaved)
            self->m_statusLabel->showAndAnnounce(QStringLiteral("Saved config: ") + path);
    };
    auto* editor = new ConfigEditorWindowController(QStringLiteral("Config Editor - ") + path, path, onSave);
    if (m_lastEditor)
        editor->window()->move(placeBeside(*m_lastEditor)); // some desktops let no window choose its place
    m_lastEditor = editor->window();
    editor->window()->makeKeyAndOrderFront();
}

void AgentsViewController::deleteSelected()
{
    const std::optional<Agent> agent = selectedAgent();
    if (!agent)
        return;
    if (!agent->isManaged()) {
        showAlert(this, QStringLiteral("Cannot Delete"),
                  QStringLiteral("Discovered agents must be removed from their runtime first."));
        return;
    }
    const QPointer<AgentsViewController> self(this);
    const DialogAnswer answer =
        runDialog(this, QStringLiteral("Delete Agent"),
                  QStringLiteral("Delete ") + agent->label() + QStringLiteral(" and remove its workspace?"), nullptr,
                  QStringLiteral("Delete"));
    if (!self || answer != DialogAnswer::Accepted)
        return;
    constexpr bool withWorkspace = true;
    if (!callOrAlert(this, QStringLiteral("Delete Failed"), "delete_local_agent",
                     {agent->ecosystem, agent->id, withWorkspace}))
        return;
    m_statusLabel->showAndAnnounce(QStringLiteral("Deleted ") + agent->label());
    loadAgents();
}

/// Returns the selected agent. When none is selected, shows an alert and returns nothing.
std::optional<Agent> AgentsViewController::selectedAgent()
{
    if (const std::optional<Json> row = m_tableView->selectedRow())
        return agentOf(*row);
    showAlert(this, QStringLiteral("No Selection"), QStringLiteral("Select an agent first."));
    return std::nullopt; // `this` may have been deleted
}
