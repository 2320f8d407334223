// Refreshing a list of skills against the parse of the same reply and the reset of a bare model, and choosing a skill
// with many variables against a bare form that shows the same.

#include "Comparison.h"
#include "backend/BackendReply.h"
#include "backend/NeloBackend.h"
#include "skills/SkillsViewController.h"
#include "ui/JsonTable.h"

#include <QApplication>
#include <QFormLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
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
    variables = ["TOKEN"] + ["VARIABLE_%d" % i for i in range(1, required)]
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

/// A model that shows the sources and names of rows and does nothing else.
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
        const Json& skill = m_rows[static_cast<std::size_t>(index.row())];
        return u'[' + textOf(skill.at("source")) + QStringLiteral("] ") + textOf(skill.at("name"));
    }
    const Json& skill(int row) const { return m_rows[static_cast<std::size_t>(row)]; }
    void setRows(Json rows)
    {
        beginResetModel();
        m_rows = std::move(rows);
        endResetModel();
    }

private:
    Json m_rows = Json::array();
};

QTableView* makeBareTable(BareModel& model, int rowHeight)
{
    auto* table = new QTableView;
    table->setModel(&model);
    table->setSelectionBehavior(QTableView::SelectRows);
    table->verticalHeader()->hide();
    table->verticalHeader()->setDefaultSectionSize(rowHeight);
    table->horizontalHeader()->hide();
    table->horizontalHeader()->setStretchLastSection(true);
    return table;
}

QWidget* makeBareFields(const Json& names, const Json& env)
{
    auto* fields = new QWidget;
    auto* form = new QFormLayout(fields);
    for (const Json& name : names) {
        auto* field = new QLineEdit(textOf(env.at(name.get<std::string>())));
        field->setPlaceholderText(textOf(name));
        form->addRow(textOf(name), field);
    }
    return fields;
}

/// A list of skills, and everything that the choice of one of them changes, made of Qt's own controls.
class BareTab final : public QWidget
{
public:
    explicit BareTab(int rowHeight) : m_table(makeBareTable(m_model, rowHeight))
    {
        m_model.setRows(Json::parse(NeloBackend::call("list_skills", {"openclaw"})));
        auto* form = new QWidget;
        m_form = new QVBoxLayout(form);
        m_form->addWidget(m_credential);
        m_form->addWidget(m_environment);
        auto* area = new QScrollArea;
        area->setWidgetResizable(true);
        area->setWidget(form);

        m_description->setMaximumHeight(5 * m_description->fontMetrics().height());
        auto* body = new QHBoxLayout;
        body->addWidget(m_table, 2);
        body->addWidget(area, 3);
        auto* column = new QVBoxLayout(this);
        column->addWidget(m_description);
        column->addLayout(body);
        column->addWidget(m_status);
    }

    void choose(int row)
    {
        const Json& skill = m_model.skill(row);
        const Json entry =
            Json::parse(NeloBackend::call("get_skill_entry", {"openclaw", skill.at("skillKey").get<std::string>()}));
        const Json& env = entry.at("env");
        m_table->selectRow(row);
        m_description->setPlainText(textOf(skill.at("description")) + u'\n' + textOf(skill.at("skillKey")) + u'\n'
                                    + textOf(skill.at("path")) + u'\n'
                                    + textsOf(skill, "requiredEnv").join(QStringLiteral(", ")));
        m_credential->setText(textOf(env.at("TOKEN")));
        m_environment->setPlainText(QString::fromStdString(env.dump(2)));
        delete m_fields;
        m_fields = makeBareFields(skill.at("requiredEnv"), env);
        m_form->addWidget(m_fields);
        m_status->setText(textOf(skill.at("name")));
    }

private:
    BareModel m_model;
    QTableView* m_table; // these are children of this
    QPlainTextEdit* m_description = new QPlainTextEdit;
    QLineEdit* m_credential = new QLineEdit;
    QPlainTextEdit* m_environment = new QPlainTextEdit;
    QVBoxLayout* m_form = nullptr;
    QWidget* m_fields = nullptr;
    QLabel* m_status = new QLabel;
};

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

void compareChoices(SkillsViewController& tab, int variables)
{
    NeloBackend::call("have", {2, variables});
    tab.refreshSkills();
    auto* table = tab.findChild<JsonTable*>();
    BareTab bareTab(table->rowHeight(0));
    bareTab.resize(tab.size());
    bareTab.show();

    // Both sides choose the second skill first, which has one variable.
    const auto ours = [table] {
        table->selectRow(1);
        QCoreApplication::processEvents();
        return Comparison::millisecondsToPaint([table] { table->selectRow(0); });
    };
    const auto bare = [&bareTab] {
        bareTab.choose(1);
        QCoreApplication::processEvents();
        return Comparison::millisecondsToPaint([&bareTab] { bareTab.choose(0); });
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
            compareChoices(tab, variables);
    }
    NeloBackend::shutdown();
    QDir::setCurrent(QDir::rootPath());
    return 0;
}
