#include "models/RuntimeViewController.h"

#include "backend/BackendReply.h"
#include "backend/NeloBackend.h"
#include "models/core/RuntimeReport.h"
#include "ui/Buttons.h"
#include "ui/Labels.h"

#include <QGroupBox>
#include <QScrollArea>
#include <QVBoxLayout>

namespace {

/// Returns a box around `content`. The content scrolls when the box is too small for it.
QGroupBox* makeScrollingBox(const QString& title, QWidget* content, QWidget* parent)
{
    auto* box = new QGroupBox(title, parent);
    auto* scroll = new QScrollArea(box);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setWidget(content);
    scroll->setFocusPolicy(Qt::NoFocus); // the content gets the keyboard focus, and shows it
    content->setFocusPolicy(Qt::StrongFocus);
    scroll->viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false);

    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(10, 10, 10, 10);
    layout->addWidget(scroll);
    return box;
}

} // namespace

RuntimeViewController::RuntimeViewController(QWidget* parent) : ViewController(parent)
{}

void RuntimeViewController::loadView()
{
    auto* buttonRow = new QHBoxLayout;
    buttonRow->setSpacing(8);
    buttonRow->addWidget(makeButton(QStringLiteral("Refresh"), this, this, &RuntimeViewController::refreshRuntime));
    buttonRow->addStretch();

    m_summaryLabel = new WrappingLabel(QStringLiteral("Loading..."));
    m_summaryLabel->setObjectName(QStringLiteral("summaryLabel"));
    m_summaryLabel->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    m_statusLabel = new StatusLine(QStringLiteral("statusLabel"), QStringLiteral("Ready"), this);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(16, 16, 16, 14);
    column->setSpacing(0);
    column->addLayout(buttonRow);
    column->addSpacing(10);
    column->addWidget(makeScrollingBox(QStringLiteral("OpenClaw Runtime"), m_summaryLabel, this), 1);
    column->addSpacing(12);
    column->addWidget(m_statusLabel);
}

void RuntimeViewController::viewDidLoad()
{
    ViewController::viewDidLoad();
    refreshRuntime();
}

void RuntimeViewController::refreshRuntime()
{
    const RuntimeReport report = runtimeReport(BackendReply(NeloBackend::call("openclaw_runtime_status")));
    m_summaryLabel->setText(report.summary);
    m_statusLabel->showAndAnnounce(report.status);
}
