#include "BareWindows.h"

#include "base/Json.h"

#include <QAbstractTableModel>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QTabWidget>
#include <QTableView>
#include <QVBoxLayout>

namespace {

void addHeader(QVBoxLayout* column, const QString& title)
{
    auto* label = new QLabel(title);
    QFont font = label->font();
    font.setPixelSize(15);
    font.setWeight(QFont::DemiBold);
    label->setFont(font);
    column->addWidget(label);
}

void addRow(QVBoxLayout* column, const QString& title, QWidget* field)
{
    auto* label = new QLabel(title);
    QFont font = label->font();
    font.setPixelSize(13);
    label->setFont(font);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label->setFixedWidth(140);
    label->setBuddy(field);
    field->setMinimumWidth(220);
    auto* row = new QHBoxLayout;
    row->setSpacing(12);
    row->addWidget(label);
    row->addWidget(field, 1);
    column->addLayout(row);
}

void addSeparator(QVBoxLayout* column)
{
    auto* line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    column->addWidget(line);
}

QLineEdit* makeFilledField(const QString& text)
{
    auto* field = new QLineEdit(text);
    field->setPlaceholderText(text);
    return field;
}

QComboBox* makePopup(const QStringList& titles)
{
    auto* popup = new QComboBox;
    popup->addItems(titles);
    return popup;
}

void fill(QVBoxLayout* form)
{
    addHeader(form, QStringLiteral("Nelo Core"));
    form->addWidget(new QCheckBox(QStringLiteral("Auto-discover local Nelo Core (127.0.0.1:8878)")));
    addRow(form, QStringLiteral("Core URL (optional)"), makeFilledField(QStringLiteral("http://127.0.0.1:8878")));
    addSeparator(form);
    addHeader(form, QStringLiteral("Chat"));
    addRow(form, QStringLiteral("Mode"), makePopup({QStringLiteral("local"), QStringLiteral("cloud")}));
    addRow(form, QStringLiteral("Local Model"),
           makePopup({QStringLiteral("qwen3:30b"), QStringLiteral("qwen3:8b"), QStringLiteral("qwen3-coder:30b")}));
    addSeparator(form);
    addHeader(form, QStringLiteral("Cloud"));
    addRow(form, QStringLiteral("Provider"),
           makePopup({QStringLiteral("openai"), QStringLiteral("deepseek"), QStringLiteral("kimi")}));
    addRow(form, QStringLiteral("Cloud Model"), makeFilledField(QStringLiteral("gpt-4o-mini")));
    QLineEdit* key = makeFilledField(QStringLiteral("Cloud API Key"));
    key->setEchoMode(QLineEdit::Password);
    addRow(form, QStringLiteral("Cloud API Key"), key);
    addRow(form, QStringLiteral("Catalog URL"), makeFilledField(QStringLiteral("https://server/catalog.json")));
    addSeparator(form);
    addHeader(form, QStringLiteral("Tovani"));
    form->addWidget(new QCheckBox(QStringLiteral("Auto-download Tovani on chat (local mode)")));
    addRow(form, QStringLiteral("Tovani Path"), makeFilledField(QStringLiteral("/home/me/.nelo/tovani")));
}

struct BareColumn
{
    const char* key;
    const char* title;
    int width;
};

/// A model of JSON objects. Each column shows the text of one key.
class BareModel final : public QAbstractTableModel
{
public:
    BareModel(Json rows, std::vector<BareColumn> columns, QObject* parent)
        : QAbstractTableModel(parent), m_rows(std::move(rows)), m_columns(std::move(columns))
    {}

    int rowCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
    }
    int columnCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_columns.size());
    }
    QVariant data(const QModelIndex& index, int role) const override
    {
        if (role != Qt::DisplayRole)
            return {};
        const Json& row = m_rows[static_cast<std::size_t>(index.row())];
        return QString::fromStdString(row.value(columnAt(index.column()).key, std::string()));
    }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        if (orientation != Qt::Horizontal)
            return {};
        if (role == Qt::TextAlignmentRole)
            return QVariant::fromValue(Qt::AlignLeft | Qt::AlignVCenter);
        return role == Qt::DisplayRole ? QString::fromLatin1(columnAt(section).title) : QVariant();
    }
    const BareColumn& columnAt(int column) const { return m_columns[static_cast<std::size_t>(column)]; }

private:
    Json m_rows;
    std::vector<BareColumn> m_columns;
};

/// Makes a table that shows the same texts in the same places as ours.
QTableView* makeTable(const std::string& reply, const std::vector<BareColumn>& columns)
{
    auto* table = new QTableView;
    auto* model = new BareModel(Json::parse(reply), columns, table);
    table->setModel(model);
    table->verticalHeader()->hide();
    table->verticalHeader()->setDefaultSectionSize(table->fontMetrics().height() + 8);
    table->setSelectionBehavior(QTableView::SelectRows);
    table->setAlternatingRowColors(true);
    table->setShowGrid(false);
    table->setWordWrap(false);
    for (int column = 0; column < model->columnCount(); ++column)
        table->setColumnWidth(column, columns[static_cast<std::size_t>(column)].width);
    return table;
}

void addTexts(QBoxLayout* layout, const std::vector<const char*>& texts)
{
    for (const char* text : texts)
        layout->addWidget(new QLabel(QString::fromLatin1(text)));
}

QLabel* makeParagraph(const QString& text)
{
    auto* paragraph = new QLabel(text);
    paragraph->setWordWrap(true);
    return paragraph;
}

QHBoxLayout* makeButtons(const std::vector<const char*>& titles)
{
    auto* row = new QHBoxLayout;
    for (const char* title : titles)
        row->addWidget(new QPushButton(QString::fromLatin1(title)));
    row->addStretch();
    return row;
}

QScrollArea* makeScrollArea(QWidget* content)
{
    auto* area = new QScrollArea;
    area->setWidgetResizable(true);
    area->setWidget(content);
    return area;
}

QWidget* makeSettingsForm()
{
    auto* documentView = new QWidget;
    auto* column = new QVBoxLayout(documentView);
    column->setContentsMargins(24, 24, 24, 24);
    fill(column);
    column->addLayout(makeButtons({"Save", "Reload", "Refresh Catalog"}));
    addTexts(column, {"Settings loaded."});
    column->addStretch();
    return makeScrollArea(documentView);
}

QWidget* makeAgents(const std::string& reply)
{
    auto* tab = new QWidget;
    auto* column = new QVBoxLayout(tab);
    QHBoxLayout* row =
        makeButtons({"Refresh", "Add Agent", "Config Editor", "Run Configure", "Adopt / Rename", "Delete"});
    addTexts(row, {"Total: 10 (openclaw:10)"});
    column->addLayout(row);
    column->addWidget(makeTable(reply, {{"id", "ID", 150},
                                        {"name", "Name", 180},
                                        {"ecosystem", "Ecosystem", 120},
                                        {"origin", "Origin", 100},
                                        {"state", "State", 160},
                                        {"lastSeen", "Last Seen", 170},
                                        {"workspace", "Workspace", 340},
                                        {"createdAt", "Created At", 170}}));
    addTexts(column, {"Synced local discovery to Core and loaded Core agent registry."});
    return tab;
}

QWidget* makeRuntime(const std::string& reply)
{
    auto* tab = new QWidget;
    auto* column = new QVBoxLayout(tab);
    column->addLayout(makeButtons({"Refresh"}));
    auto* box = new QGroupBox(QStringLiteral("OpenClaw Runtime"));
    auto* boxColumn = new QVBoxLayout(box);
    boxColumn->addWidget(makeScrollArea(makeParagraph(QString::fromStdString(reply))));
    column->addWidget(box, 1);
    addTexts(column, {"Ready"});
    return tab;
}

QWidget* makePlaceholder()
{
    auto* tab = new QWidget;
    auto* column = new QVBoxLayout(tab);
    addTexts(column, {"Tovani"});
    column->addWidget(makeParagraph(QStringLiteral(
        "Manage per-agent knowledge and memory sources (datasets, indexes, versions). This tab is kept as a structural "
        "placeholder and will host indexing tasks and status monitoring next.")));
    return tab;
}

/// The line above the tabs: Chinese text with a link.
QLabel* makeBanner()
{
    auto* banner = new QLabel(QStringLiteral("Nelo为您提供最简单的AI入口服务。客服请联系我们："
                                             "<a href=\"https://nelo.example/support\">nelo.example</a>"));
    banner->setAlignment(Qt::AlignCenter);
    return banner;
}

QStringList namesIn(const std::string& reply)
{
    QStringList names;
    for (const Json& row : Json::parse(reply))
        names.append(QString::fromStdString(row.value("name", std::string())));
    return names;
}

QLayout* makeSkillControls(const std::string& agents)
{
    auto* row = new QHBoxLayout;
    const auto addPopup = [row](const QString& caption, const QStringList& titles) {
        row->addWidget(new QLabel(caption));
        row->addWidget(makePopup(titles));
    };
    addPopup(QStringLiteral("Ecosystem"),
             {QStringLiteral("openclaw"), QStringLiteral("codex"), QStringLiteral("kimi")});
    addPopup(QStringLiteral("Agent"), namesIn(agents));
    addPopup(QStringLiteral("Config Mode"), {QStringLiteral("dynamic"), QStringLiteral("json")});
    row->addLayout(makeButtons({"Refresh", "Load Config", "Install Skill", "Install Cloud Skill"}));
    return row;
}

QWidget* makeSources()
{
    auto* section = new QWidget;
    auto* column = new QVBoxLayout(section);
    addTexts(column, {"Configured Sources"});
    QHBoxLayout* row = makeButtons({"Refresh Sources", "Add Source"});
    row->addWidget(makePopup({}));
    column->addLayout(row);
    addSeparator(column);
    addTexts(column, {"Source List", "None"});
    section->hide();
    return section;
}

QWidget* makeSkillForm()
{
    auto* form = new QWidget;
    auto* column = new QVBoxLayout(form);
    addRow(column, QStringLiteral("Enabled"), makePopup({QStringLiteral("true"), QStringLiteral("false")}));
    addRow(column, QStringLiteral("API Key"), makeFilledField({}));
    addTexts(column, {"ENV (JSON snapshot)"});
    column->addWidget(new QPlainTextEdit(QStringLiteral("{}")));
    column->addWidget(new QWidget);
    column->addWidget(makeSources());
    return makeScrollArea(form);
}

QWidget* makeSkills(const ConsoleReplies& replies)
{
    auto* tab = new QWidget;
    auto* column = new QVBoxLayout(tab);
    column->addLayout(makeSkillControls(replies.localAgents));
    column->addWidget(makeScrollArea(new QLabel(QStringLiteral("No skill selected."))));
    addTexts(column, {"Config: /c", "Skill dirs: /a | /b"});
    auto* body = new QHBoxLayout;
    QTableView* table = makeTable(replies.skills, {{"name", "", 300}});
    table->horizontalHeader()->setStretchLastSection(true);
    body->addWidget(table, 2);
    body->addWidget(makeSkillForm(), 3);
    column->addLayout(body, 1);
    column->addLayout(makeButtons({"Save Config"}));
    addTexts(column, {"Ready"});
    return tab;
}

} // namespace

std::unique_ptr<QWidget> makeBareSettingsWindow()
{
    auto window = std::make_unique<QWidget>();
    window->setMinimumSize(640, 620);
    auto* root = new QVBoxLayout(window.get());
    root->setContentsMargins({});
    root->addWidget(makeSettingsForm());
    return window;
}

std::unique_ptr<QWidget> makeBareConsoleWindow(const ConsoleReplies& replies)
{
    auto window = std::make_unique<QWidget>();
    window->setMinimumSize(1000, 720);
    auto* root = new QVBoxLayout(window.get());
    root->setContentsMargins({});
    root->addWidget(makeBanner());
    auto* tabs = new QTabWidget;
    tabs->setDocumentMode(true);
    tabs->addTab(makeAgents(replies.agents), QStringLiteral("Agents"));
    tabs->addTab(makeRuntime(replies.runtime), QStringLiteral("Runtime"));
    tabs->addTab(makePlaceholder(), QStringLiteral("Tovani"));
    tabs->addTab(makeSkills(replies), QStringLiteral("Skills"));
    tabs->addTab(makeSettingsForm(), QStringLiteral("Settings"));
    root->addWidget(tabs, 1);
    return window;
}
