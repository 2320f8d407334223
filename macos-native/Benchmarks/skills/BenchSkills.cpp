// Refreshing a list of skills against the parse of the same reply and the reset of a bare model, and choosing a skill
// with many variables against the same fields made bare.

#include "Comparison.h"
#include "backend/BackendReply.h"
#include "backend/NeloBackend.h"
#include "skills/SkillsViewController.h"
#include "ui/JsonTable.h"

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

// The list changes from call to call: a list that stays the same would not be shown again.
const char* const backend = R"(
calls = 0
count = 0
variables = []
def have(skills, required):
    global count, variables
    count = skills
    variables = ["VARIABLE_%d" % i for i in range(required)]
def skill(i):
    return {"name": "skill %d of %d" % (i, calls), "skillKey": "skill-%d" % i, "source": "workspace",
            "description": "What this skill does, in a sentence or two. " * 3, "path": "/home/me/skills/%d" % i,
            "requiredEnv": variables if i == 0 else ["TOKEN"], "primaryEnv": "TOKEN"}
def list_skills(ecosystem):
    global calls
    calls += 1
    return [skill(i) for i in range(count)]
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

void compareLists(SkillsViewController& tab, int skills)
{
    NeloBackend::call("have", {skills, 1});
    tab.refreshSkills();
    QTableView table;
    BareModel model;
    table.setModel(&model);
    table.horizontalHeader()->setStretchLastSection(true);
    table.resize(400, 500);
    table.show();

    auto* ourTable = tab.findChild<JsonTable*>();
    std::string reply;
    const auto ours = [ourTable, &reply] {
        reply = NeloBackend::call("list_skills", {"openclaw"});
        return Comparison::millisecondsToPaint([ourTable, &reply] { ourTable->setRows(BackendReply(reply).rows()); });
    };
    const auto bare = [&model, &reply] {
        return Comparison::millisecondsToPaint([&model, &reply] { model.setRows(Json::parse(reply)); });
    };
    Pairs::compare("skills refresh", skills, 41, ours, bare);
}

void timeFields(SkillsViewController& tab, int variables)
{
    NeloBackend::call("have", {2, variables});
    tab.refreshSkills();
    auto* table = tab.findChild<JsonTable*>();
    QScrollArea area;
    area.setWidgetResizable(true);
    area.resize(600, 500);
    area.show();
    std::vector<Json> names;
    for (int i = 0; i < variables; ++i)
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
    Pairs::compare("skill with variables", variables, 21, ours, bare);
}

} // namespace

int main(int argc, char* argv[])
{
    Pairs::useOneCore();
    const QTemporaryDir folder;
    Comparison::useBackend(folder, backend);
    QApplication application(argc, argv);
    {
        SkillsViewController tab;
        tab.resize(1000, 640);
        tab.show();
        for (const int skills : {20, 200, 2000})
            compareLists(tab, skills);
        for (const int variables : {2, 20, 200})
            timeFields(tab, variables);
    }
    NeloBackend::shutdown();
    QDir::setCurrent(QDir::rootPath());
    return 0;
}
