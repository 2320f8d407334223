// Refreshing a list of 10,000 agents against the parse of the same reply and the reset of a bare model; opening a
// configuration of 5 MB against a bare editor that is given the same text; and how long a page of the list takes to be
// painted. Where there are two sides they alternate on one core, and the ratios of their times are printed as median,
// minimum and maximum.

#include "Comparison.h"
#include "agents/AgentReport.h"
#include "agents/AgentsViewController.h"
#include "agents/ConfigEditorWindowController.h"
#include "backend/BackendReply.h"
#include "backend/NeloBackend.h"
#include "shell/primitives/JsonTable.h"
#include "shell/primitives/Labels.h"
#include "shell/primitives/NeloWindow.h"

#include <QApplication>
#include <QPlainTextEdit>
#include <QScrollBar>

#include <memory>

namespace {

// The list differs from one call to the next: a list that stays the same would not be shown anew.
const char* const backend = R"(
calls = 0
def agent(i):
    key = "codex-20250101-%06d" % i
    return {"id": key, "name": "agent %d" % i, "ecosystem": ("codex", "kimi", "openclaw")[i % 3], "origin": "managed",
            "state": "available", "lastSeen": "2025-01-01T09:30:%02dZ" % (calls % 60),
            "workspace": "/home/me/.codex/agents/" + key, "createdAt": "2025-01-01T09:30:00Z"}
def sync_local_agents_to_core():
    global calls
    calls += 1
    return [agent(i) for i in range(10000)]
)";

/// Rows, of which nothing is shown.
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

double millisecondsOf(const std::function<void()>& work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

void compareRefreshes(AgentsViewController& tab)
{
    BareRows bareRows;
    Comparison::compare(
        "refresh, call included", [&tab] { return millisecondsOf([&tab] { tab.refreshAgents(); }); },
        [&bareRows] {
            return millisecondsOf(
                [&bareRows] { bareRows.setRows(Json::parse(NeloBackend::call("sync_local_agents_to_core"))); });
        });

    auto* table = tab.findChild<JsonTable*>();
    auto* summary = tab.findChild<Label*>(QStringLiteral("summaryLabel"));
    std::string reply;
    const auto ours = [&] {
        reply = NeloBackend::call("sync_local_agents_to_core");
        return millisecondsOf([&] {
            AgentReport report = agentReport(BackendReply(reply));
            table->setRows(std::move(report.rows));
            summary->setText(report.summary);
        });
    };
    const auto bare = [&] { return millisecondsOf([&] { bareRows.setRows(Json::parse(reply)); }); };
    Comparison::compare("refresh, call aside", ours, bare);
    table->selectRow(9000);
    Comparison::compare("refresh, with a selection", ours, bare);
}

/// A frame lasts 16.7 ms at 60 Hz.
void timeScrolling(AgentsViewController& tab)
{
    QScrollBar* bar = tab.findChild<JsonTable*>()->verticalScrollBar();
    std::vector<double> times;
    for (bar->setValue(0); bar->value() < bar->maximum() && times.size() < 100;)
        times.push_back(
            Comparison::millisecondsToPaint([bar] { bar->triggerAction(QAbstractSlider::SliderPageStepAdd); }));
    std::printf("%-28s %.2f ms\n", "a page further", Comparison::median(times));
}

void compareEditors(const QString& path)
{
    const QByteArray bytes = QByteArray("    \"some key\": \"a value of an ordinary length\",\n").repeated(100'000);
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
    Comparison::compare("open 5 MB", ours, bare);
}

} // namespace

int main(int argc, char* argv[])
{
    Comparison::useOneCore();
    const QTemporaryDir folder;
    Comparison::useBackend(folder, backend);
    QApplication application(argc, argv);
    {
        AgentsViewController tab;
        tab.resize(1000, 600);
        tab.show();
        compareRefreshes(tab);
        timeScrolling(tab);
    }
    compareEditors(folder.filePath(QStringLiteral("config.json")));
    NeloBackend::shutdown();
    QDir::setCurrent(QDir::rootPath());
    return 0;
}
