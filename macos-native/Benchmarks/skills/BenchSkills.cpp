// Refreshing a list of 2,000 skills against the parse of the same reply and the reset of a bare model; and choosing a
// skill with 200 variables against the same fields made bare, which may take two frames of a 60 Hz display, 33.3 ms.
// The two sides alternate on one core; ratios of their times are printed as median, minimum and maximum.

#include "Comparison.h"
#include "backend/BackendReply.h"
#include "backend/NeloBackend.h"
#include "shell/primitives/JsonTable.h"
#include "skills/SkillsViewController.h"

#include <QApplication>
#include <QFormLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QTableView>
#include <QVBoxLayout>

namespace {

// The list differs from one call to the next: a list that stays the same would not be shown anew.
const char* const backend = R"(
calls = 0
variables = ["VARIABLE_%d" % i for i in range(200)]
def skill(i):
    return {"name": "skill %d of %d" % (i, calls), "skillKey": "skill-%d" % i, "source": "workspace",
            "description": "What this skill does, in a sentence or two. " * 3, "path": "/home/me/skills/%d" % i,
            "requiredEnv": variables if i == 0 else ["TOKEN"], "primaryEnv": "TOKEN"}
def list_skills(ecosystem):
    global calls
    calls += 1
    return [skill(i) for i in range(2000)]
def list_local_agents(): return []
def get_adapter_snapshot(ecosystem): return {"configPath": "/c", "skillDirs": ["/a", "/b"]}
def get_skill_entry(ecosystem, key): return {"env": {name: "value" for name in variables}}
)";

/// A model that shows the names of rows and does nothing else.
class BareModel final : public QAbstractTableModel
{
public:
    using QAbstractTableModel::QAbstractTableModel;

    int rowCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
    }
    int columnCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : 1; }
    QVariant data(const QModelIndex& index, int role) const override
    {
        if (role != Qt::DisplayRole)
            return {};
        return QString::fromStdString(m_rows[static_cast<std::size_t>(index.row())].at("name").get<std::string>());
    }
    void setRows(Json rows)
    {
        beginResetModel();
        m_rows = std::move(rows);
        endResetModel();
    }

private:
    Json m_rows = Json::array();
};

std::unique_ptr<QWidget> makeBareFields(const std::vector<Json>& texts)
{
    auto fields = std::make_unique<QWidget>();
    auto* form = new QFormLayout(fields.get());
    for (const Json& text : texts) {
        auto* field = new QLineEdit(textOf(text));
        field->setPlaceholderText(textOf(text));
        form->addRow(textOf(text), field);
    }
    return fields;
}

void compareLists(SkillsViewController& tab)
{
    QTableView table;
    BareModel model;
    table.setModel(&model);
    table.horizontalHeader()->setStretchLastSection(true);
    table.resize(400, 500);
    table.show();
    const auto ours = [&tab] { return Comparison::millisecondsToPaint([&tab] { tab.refreshSkills(); }); };
    const auto bare = [&model] {
        return Comparison::millisecondsToPaint([&model] {
            model.setRows(Json::parse(NeloBackend::call("list_skills", {"openclaw"})));
            NeloBackend::call("get_adapter_snapshot", {"openclaw"});
        });
    };
    Comparison::compare("list 2,000, calls included", ours, bare);

    auto* ourTable = tab.findChild<JsonTable*>();
    std::string reply;
    const auto oursAside = [ourTable, &reply] {
        reply = NeloBackend::call("list_skills", {"openclaw"});
        return Comparison::millisecondsToPaint([ourTable, &reply] { ourTable->setRows(BackendReply(reply).rows()); });
    };
    const auto bareAside = [&model, &reply] {
        return Comparison::millisecondsToPaint([&model, &reply] { model.setRows(Json::parse(reply)); });
    };
    Comparison::compare("list 2,000, calls aside", oursAside, bareAside);
}

void compareFields(SkillsViewController& tab)
{
    auto* table = tab.findChild<JsonTable*>();
    QScrollArea area;
    area.setWidgetResizable(true);
    area.resize(600, 500);
    area.show();
    std::vector<Json> names;
    for (int i = 0; i < 200; ++i)
        names.emplace_back("VARIABLE_" + std::to_string(i));

    const auto ours = [table] {
        table->selectRow(1); // so that choosing the first is a change
        QCoreApplication::processEvents();
        return Comparison::millisecondsToPaint([table] { table->selectRow(0); });
    };
    const auto bare = [&area, &names] {
        delete area.takeWidget();
        QCoreApplication::processEvents();
        return Comparison::millisecondsToPaint([&area, &names] {
            NeloBackend::call("get_skill_entry", {"openclaw", "skill-0"});
            area.setWidget(makeBareFields(names).release());
        });
    };
    Comparison::compare("200 fields, 33.3 ms at most", ours, bare);
}

} // namespace

int main(int argc, char* argv[])
{
    Comparison::useOneCore();
    const QTemporaryDir folder;
    Comparison::useBackend(folder, backend);
    QApplication application(argc, argv);
    {
        SkillsViewController tab;
        tab.resize(1000, 640);
        tab.show();
        compareLists(tab);
        compareFields(tab);
    }
    NeloBackend::shutdown();
    QDir::setCurrent(QDir::rootPath());
    return 0;
}
