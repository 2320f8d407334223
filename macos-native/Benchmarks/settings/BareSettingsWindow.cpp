#include "BareSettingsWindow.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
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

QLineEdit* makeField(const QString& text)
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
    addRow(form, QStringLiteral("Core URL (optional)"), makeField(QStringLiteral("http://127.0.0.1:8878")));
    addSeparator(form);
    addHeader(form, QStringLiteral("Chat"));
    addRow(form, QStringLiteral("Mode"), makePopup({QStringLiteral("local"), QStringLiteral("cloud")}));
    addRow(form, QStringLiteral("Local Model"),
           makePopup({QStringLiteral("qwen3:30b"), QStringLiteral("qwen3:8b"), QStringLiteral("qwen3-coder:30b")}));
    addSeparator(form);
    addHeader(form, QStringLiteral("Cloud"));
    addRow(form, QStringLiteral("Provider"),
           makePopup({QStringLiteral("openai"), QStringLiteral("deepseek"), QStringLiteral("kimi")}));
    addRow(form, QStringLiteral("Cloud Model"), makeField(QStringLiteral("gpt-4o-mini")));
    QLineEdit* key = makeField(QStringLiteral("Cloud API Key"));
    key->setEchoMode(QLineEdit::Password);
    addRow(form, QStringLiteral("Cloud API Key"), key);
    addRow(form, QStringLiteral("Catalog URL"), makeField(QStringLiteral("https://server/catalog.json")));
    addSeparator(form);
    addHeader(form, QStringLiteral("Tovani"));
    form->addWidget(new QCheckBox(QStringLiteral("Auto-download Tovani on chat (local mode)")));
    addRow(form, QStringLiteral("Tovani Path"), makeField(QStringLiteral("/home/me/.nelo/tovani")));
}

} // namespace

std::unique_ptr<QWidget> makeBareSettingsWindow()
{
    auto window = std::make_unique<QWidget>();
    window->setMinimumSize(640, 620);
    auto* scrollArea = new QScrollArea;
    scrollArea->setWidgetResizable(true);
    auto* documentView = new QWidget;
    scrollArea->setWidget(documentView);
    auto* root = new QVBoxLayout(window.get());
    root->setContentsMargins({});
    root->addWidget(scrollArea);

    auto* column = new QVBoxLayout(documentView);
    column->setContentsMargins(24, 24, 24, 24);
    fill(column);
    auto* buttons = new QHBoxLayout;
    for (const char* title : {"Save", "Reload", "Refresh Catalog"})
        buttons->addWidget(new QPushButton(QString::fromLatin1(title)));
    column->addLayout(buttons);
    column->addWidget(new QLabel(QStringLiteral("Settings loaded.")));
    column->addStretch();
    return window;
}
