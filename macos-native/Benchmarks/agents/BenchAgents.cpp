// Refreshing a list of agents against the parse of the same reply and the reset of a bare model; opening a
// configuration against a bare editor that is given the same text; and how long a page of the list takes to be painted.

#include "Comparison.h"
#include "agents/AgentsViewController.h"
#include "agents/ConfigEditorWindowController.h"
#include "agents/core/AgentReport.h"
#include "backend/BackendReply.h"
#include "backend/NeloBackend.h"
#include "shell/primitives/NeloWindow.h"
#include "ui/JsonTable.h"
#include "ui/Labels.h"

#include <QApplication>
#include <QPlainTextEdit>
#include <QScrollBar>

#include <memory>

namespace {

// The list changes from call to call: a list that stays the same would not be shown again.
const char* const backend = R"(
calls = 0
count = 0
def have(agents):
    global count
    count = agents
def agent(i):
    key = "codex-20250101-%06d" % i
    return {"id": key, "name": "agent %d" % i, "ecosystem": ("codex", "kimi", "openclaw")[i % 3], "origin": "managed",
            "state": "available", "lastSeen": "2025-01-01T09:30:%02dZ" % (calls % 60),
            "workspace": "/home/me/.codex/agents/" + key, "createdAt": "2025-01-01T09:30:00Z"}
def sync_local_agents_to_core():
    global calls
    calls += 1
    return [agent(i) for i in range(count)]
)";

/// A model of rows that no view shows.
class BareRows final : public QAbstractTableModel
{
public:
    int rowCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
    }
    int columnCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : 8; }
    QVariant data(const QModelIndex& /*index*/, int /*role*/) const override { return {}; }
    void setRows(Json rows)
    {
        beginResetModel();
        m_rows = std::move(rows);
        endResetModel();
    }

private:
    Json m_rows = Json::array();
};

void compareRefreshes(AgentsViewController& tab, int agents)
{
    NeloBackend::call("have", {agents});
    tab.refreshAgents();
    BareRows bareRows;
    auto* table = tab.findChild<JsonTable*>();
    auto* summary = tab.findChild<Label*>(QStringLiteral("summaryLabel"));
    std::string reply;
    const auto ours = [&] {
        reply = NeloBackend::call("sync_local_agents_to_core");
        return Pairs::millisecondsOf([&] {
            AgentReport report = agentReport(BackendReply(reply));
            table->setRows(std::move(report.rows));
            summary->setText(report.summary);
        });
    };
    const auto bare = [&] { return Pairs::millisecondsOf([&] { bareRows.setRows(Json::parse(reply)); }); };
    const int pairs = agents > 1000 ? 21 : 101;
    Pairs::compare("agents refresh", agents, pairs, ours, bare);
    table->selectRow(agents - agents / 10);
    Pairs::compare("agents refresh, with a selection", agents, pairs, ours, bare);
}

void timeScrolling(AgentsViewController& tab, int agents)
{
    QCoreApplication::processEvents(); // lays the rows out: until then there is nothing to scroll
    QScrollBar* bar = tab.findChild<JsonTable*>()->verticalScrollBar();
    Pairs::Result result{"agents, a page further", agents, {}, {}};
    for (bar->setValue(0); bar->value() < bar->maximum() && result.ours.size() < 100;)
        result.ours.push_back(
            Comparison::millisecondsToPaint([bar] { bar->triggerAction(QAbstractSlider::SliderPageStepAdd); }));
    Pairs::print(result);
}

void compareEditors(const QString& path, int length)
{
    const QByteArray line = "    \"some key\": \"a value of an ordinary length\",\n";
    const QByteArray bytes = line.repeated(length / line.size());
    QFile file(path);
    if (!file.open(QFile::WriteOnly | QFile::Unbuffered) || file.write(bytes) != bytes.size())
        qFatal("the configuration cannot be written");
    const QString text = QString::fromUtf8(bytes);

    std::unique_ptr<QWidget> shown;
    const auto ours = [&] {
        shown.reset();
        return Comparison::millisecondsToPaint([&] {
            auto* controller = new ConfigEditorWindowController(QStringLiteral("Config Editor"), path, {});
            shown.reset(controller->window());
            shown->show();
        });
    };
    const auto bare = [&] {
        shown.reset();
        return Comparison::millisecondsToPaint([&] {
            auto editor = std::make_unique<QPlainTextEdit>();
            editor->setLineWrapMode(QPlainTextEdit::NoWrap);
            editor->resize(900, 640);
            editor->setPlainText(text);
            editor->show();
            shown = std::move(editor);
        });
    };
    Pairs::compare("open configuration of bytes", length, 21, ours, bare);
}

} // namespace

int main(int argc, char* argv[])
{
    Pairs::useOneCore();
    const QTemporaryDir folder;
    Comparison::useBackend(folder, backend);
    QApplication application(argc, argv);
    {
        AgentsViewController tab;
        tab.resize(1000, 600);
        tab.show();
        for (const int agents : {100, 1000, 10'000})
            compareRefreshes(tab, agents);
        timeScrolling(tab, 10'000);
    }
    for (const int length : {50'000, 500'000, 5'000'000})
        compareEditors(folder.filePath(QStringLiteral("config.json")), length);
    NeloBackend::shutdown();
    QDir::setCurrent(QDir::rootPath());
    return 0;
}
