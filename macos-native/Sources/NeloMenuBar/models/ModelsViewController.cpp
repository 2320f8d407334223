#include "models/ModelsViewController.h"

#include "backend/BackendReply.h"
#include "backend/NeloBackend.h"
#include "models/ModelColumns.h"
#include "models/core/ModelReports.h"
#include "ui/Alerts.h"
#include "ui/Buttons.h"
#include "ui/FlowLayout.h"
#include "ui/JsonTable.h"
#include "ui/Labels.h"

#include <QGroupBox>
#include <QVBoxLayout>

namespace {

constexpr int margin = 16;
constexpr int spacing = 10;

/// Returns a box with the title `title` around `table`. The title is the table's accessible name, too.
QGroupBox* makeBox(const QString& title, JsonTable* table, QWidget* parent)
{
    auto* box = new QGroupBox(title, parent);
    table->setAccessibleName(title);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->addWidget(table);
    return box;
}

/// Returns the member `key` of the selected row. It is empty when no row is selected or the member is no string.
QString selectedString(const JsonTable& table, const char* key)
{
    const std::optional<Json> row = table.selectedRow();
    return row && row->contains(key) && row->at(key).is_string() ? textOf(row->at(key)) : QString();
}

} // namespace

ModelsViewController::ModelsViewController(QWidget* parent) : ViewController(parent)
{}

void ModelsViewController::loadView()
{
    QHBoxLayout* toolbar = makeToolbar();
    m_boxes = makeBoxes();
    m_statusLabel = new StatusLine(QStringLiteral("statusLabel"), QStringLiteral("Ready"), this);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(margin, margin, margin, 14);
    column->setSpacing(spacing);
    column->addLayout(toolbar);
    column->addLayout(m_boxes, 1);
    column->addWidget(m_statusLabel);
    divideWidth();
}

QHBoxLayout* ModelsViewController::makeToolbar()
{
    auto* buttons = new FlowLayout;
    buttons->setSpacing(8);
    const auto add = [this, buttons](const QString& title, void (ModelsViewController::*action)()) {
        buttons->addWidget(makeButton(title, this, this, action));
    };
    add(QStringLiteral("Refresh Remote"), &ModelsViewController::refreshRemote);
    add(QStringLiteral("Refresh Local/Tasks"), &ModelsViewController::refreshRight);
    add(QStringLiteral("Download Selected"), &ModelsViewController::downloadSelected);
    add(QStringLiteral("Cancel Task"), &ModelsViewController::cancelSelectedTask);
    m_localSummaryLabel = new Label({}, this);
    m_localSummaryLabel->setObjectName(QStringLiteral("localSummaryLabel"));
    auto* toolbar = new QHBoxLayout;
    toolbar->setSpacing(8);
    toolbar->addLayout(buttons, 1);
    toolbar->addWidget(m_localSummaryLabel);
    return toolbar;
}

QHBoxLayout* ModelsViewController::makeBoxes()
{
    m_remoteTable = new JsonTable(ModelColumns::remoteModels(), {"name"}, this);
    m_remoteTable->setObjectName(QStringLiteral("remoteTable"));
    m_localTable = new JsonTable(ModelColumns::localModels(), {"name"}, this);
    m_localTable->setObjectName(QStringLiteral("localTable"));
    m_taskTable = new JsonTable(ModelColumns::downloadTasks(), {"id"}, this);
    m_taskTable->setObjectName(QStringLiteral("taskTable"));

    auto* right = new QVBoxLayout;
    right->setSpacing(spacing);
    auto* boxes = new QHBoxLayout;
    boxes->setSpacing(spacing);
    boxes->addWidget(makeBox(QStringLiteral("Remote Models"), m_remoteTable, this));
    boxes->addLayout(right);
    right->addWidget(makeBox(QStringLiteral("Local Models"), m_localTable, this), 1);
    right->addWidget(makeBox(QStringLiteral("Download Tasks"), m_taskTable, this), 1);
    return boxes;
}

void ModelsViewController::viewDidLoad()
{
    ViewController::viewDidLoad();
    refreshRemote();
    refreshRight();
}

void ModelsViewController::resizeEvent(QResizeEvent* event)
{
    ViewController::resizeEvent(event);
    if (m_boxes)
        divideWidth();
}

/// Divides the width: the catalogue gets a little more than half of the view.
void ModelsViewController::divideWidth()
{
    const int left = qRound(0.55 * width()) - 20;
    m_boxes->setStretch(0, left);
    m_boxes->setStretch(1, width() - 2 * margin - spacing - left);
}

void ModelsViewController::refreshRemote()
{
    RemoteModelsReport report = remoteModelsReport(BackendReply(NeloBackend::call("list_remote_models")));
    m_remoteTable->setRows(std::move(report.rows));
    m_statusLabel->showAndAnnounce(report.status);
}

void ModelsViewController::refreshRight()
{
    const BackendReply localReply(NeloBackend::call("list_local_models"));
    const BackendReply tasksReply(NeloBackend::call("list_model_download_tasks"));
    LocalModelsReport report = localModelsReport(localReply, tasksReply);
    m_localTable->setRows(std::move(report.localRows));
    m_taskTable->setRows(std::move(report.taskRows));
    m_localSummaryLabel->setText(report.summary);
    m_statusLabel->showAndAnnounce(report.status);
}

void ModelsViewController::downloadSelected()
{
    const QString name = selectedString(*m_remoteTable, "name");
    if (name.isEmpty()) {
        showAlert(this, QStringLiteral("No Selection"), QStringLiteral("Select a remote model first."));
        return;
    }
    if (!callOrAlert(this, QStringLiteral("Download Failed"), "start_model_download", {name}))
        return;
    m_statusLabel->showAndAnnounce(QStringLiteral("Submitted download for ") + name);
    refreshRight();
}

void ModelsViewController::cancelSelectedTask()
{
    const QString id = selectedString(*m_taskTable, "id");
    if (id.isEmpty()) {
        showAlert(this, QStringLiteral("No Selection"), QStringLiteral("Select a task first."));
        return;
    }
    if (!callOrAlert(this, QStringLiteral("Cancel Failed"), "cancel_model_download", {id}))
        return;
    m_statusLabel->showAndAnnounce(QStringLiteral("Cancelled task ") + id);
    refreshRight();
}
