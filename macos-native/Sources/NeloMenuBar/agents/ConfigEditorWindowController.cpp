#include "agents/ConfigEditorWindowController.h"

#include "agents/core/ConfigFile.h"
#include "base/Text.h"
#include "shell/primitives/NeloWindow.h"
#include "ui/Alerts.h"
#include "ui/Buttons.h"
#include "ui/Labels.h"
#include "ui/VerbatimTextEdit.h"

#include <QDateTime>
#include <QFontDatabase>
#include <QHBoxLayout>

#include <utility>

ConfigEditorWindowController::ConfigEditorWindowController(const QString& title, QString path, OnSave onSave)
    : m_path(std::move(path)), m_onSave(std::move(onSave)), m_window(new NeloWindow(title, {900, 640}))
{
    m_window->setAttribute(Qt::WA_DeleteOnClose);
    m_window->setMinimumSize(0, 0); // any size will do: the text scrolls
    setParent(m_window);
    setupUI();
}

void ConfigEditorWindowController::setupUI()
{
    m_textView = new VerbatimTextEdit(m_window);
    m_textView->setObjectName(QStringLiteral("textView"));
    m_textView->setAccessibleName(QStringLiteral("Configuration"));
    m_textView->setFont(fontOfSize(QFontDatabase::systemFont(QFontDatabase::FixedFont), 12));

    auto* buttonRow = new QHBoxLayout;
    buttonRow->setSpacing(8);
    buttonRow->addStretch();
    buttonRow->addWidget(
        makeButton(QStringLiteral("Reload"), m_window, this, &ConfigEditorWindowController::reloadFile));
    buttonRow->addWidget(makeButton(QStringLiteral("Save"), m_window, this, &ConfigEditorWindowController::saveFile));

    auto* column = new QVBoxLayout(m_window);
    column->setContentsMargins(16, 16, 16, 16);
    column->setSpacing(0);
    column->addWidget(makeSecondaryLabel(QStringLiteral("pathLabel"), m_path, m_window));
    column->addSpacing(10);
    column->addWidget(m_textView, 1);
    column->addSpacing(12);
    column->addLayout(buttonRow);
    reloadFile();
}

void ConfigEditorWindowController::reloadFile()
{
    m_textView->setText(decodeUtf8(readConfigFile(m_path)).value_or(QString()));
}

void ConfigEditorWindowController::saveFile()
{
    const std::optional<QString> failure =
        saveConfigFile(m_path, m_textView->text().toUtf8(), QDateTime::currentDateTime());
    if (failure) {
        showAlert(m_window, QStringLiteral("Save Failed"), *failure);
        return; // the window and this object may have been deleted
    }
    m_onSave(true);
    m_window->close();
}
