#include "skills/NewsSourceSection.h"

#include "backend/BackendReply.h"
#include "backend/NeloBackend.h"
#include "skills/NewsSourceForm.h"
#include "skills/core/NewsSource.h"
#include "skills/core/SkillRow.h"
#include "ui/Alerts.h"
#include "ui/Buttons.h"
#include "ui/FlowLayout.h"
#include "ui/Forms.h"
#include "ui/Labels.h"
#include "ui/PopUpButton.h"
#include "ui/SingleLine.h"
#include "ui/TextScale.h"

#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

NewsSourceSection::NewsSourceSection(QWidget* parent)
    : QWidget(parent), m_sourcePopup(new PopUpButton(this)), m_sourceSummaryLabel(new Label({}, this))
{
    m_sourcePopup->setObjectName(QStringLiteral("sourcePopup"));
    m_sourcePopup->setMinimumWidth(scaledToFont(120)); // a long title gives way to the buttons
    m_sourceSummaryLabel->setObjectName(QStringLiteral("sourceSummaryLabel"));
    auto* caption = new Label(QStringLiteral("Configured Sources"), this);
    caption->setBuddy(m_sourcePopup);
    QPushButton* refresh = makeButton(QStringLiteral("Refresh Sources"), this);
    connect(refresh, &QPushButton::clicked, this, &NewsSourceSection::reloadSources);
    QPushButton* add = makeButton(QStringLiteral("Add Source"), this);
    connect(add, &QPushButton::clicked, this, &NewsSourceSection::addSource);

    auto* row = new FlowLayout;
    row->setSpacing(8);
    row->addWidget(m_sourcePopup);
    row->addWidget(refresh);
    row->addWidget(add);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(8);
    column->addWidget(caption);
    column->addLayout(row);
    column->addWidget(makeSeparator(this));
    column->addWidget(new Label(QStringLiteral("Source List"), this));
    column->addWidget(m_sourceSummaryLabel);
    reset();
}

void NewsSourceSection::showFor(const std::optional<Json>& skill)
{
    m_isSocialMediaAlert = skill && ::isSocialMediaAlert(*skill);
    setVisible(m_isSocialMediaAlert);
}

void NewsSourceSection::reset()
{
    showFor(std::nullopt);
    m_sourceSummaryLabel->clear();
}

void NewsSourceSection::reloadSources()
{
    const std::vector<Json> sources = BackendReply(NeloBackend::call("list_news_sources")).rows();
    m_sourcePopup->clear();
    for (const Json& source : sources)
        m_sourcePopup->addItem(singleLine(newsSourceTitle(source)));
    if (sources.empty())
        m_sourcePopup->addItem(QStringLiteral("(no sources)"));
    m_sourceSummaryLabel->setText(newsSourceSummary(sources.size()));
}

void NewsSourceSection::addSource()
{
    if (!m_isSocialMediaAlert)
        return;
    const QPointer<NewsSourceSection> self(this);
    NewsSourceForm form;
    const DialogAnswer answer = runDialog(this, QStringLiteral("Add Source"),
                                          QStringLiteral("Use Type, ID, Name, and URL."), &form, QStringLiteral("Add"));
    if (!self || answer != DialogAnswer::Accepted)
        return;
    const BackendReply reply(NeloBackend::call("add_news_source", {toJson(form.source())}));
    if (reply.isError()) {
        showAlert(this, QStringLiteral("Add Source Failed"), reply.text());
        return;
    }
    reloadSources();
    emit statusChanged(QStringLiteral("Source added."));
}
