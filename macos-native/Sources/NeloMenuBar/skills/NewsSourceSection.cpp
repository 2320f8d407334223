#include "skills/NewsSourceSection.h"

#include "backend/BackendReply.h"
#include "backend/NeloBackend.h"
#include "skills/core/NewsSource.h"
#include "ui/Alerts.h"
#include "ui/Buttons.h"
#include "ui/FlowLayout.h"
#include "ui/Forms.h"
#include "ui/Labels.h"
#include "ui/PopUpButton.h"
#include "ui/SingleLine.h"
#include "ui/TextScale.h"

#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

QHBoxLayout* sourceFormRow(const QString& label, QWidget* field)
{
    return formRow(label, field, {.labelWidth = 72, .spacing = 8});
}

/// The content of the dialog that describes a new source.
class NewsSourceForm final : public QWidget
{
public:
    NewsSourceForm()
    {
        m_typePopup->addItems({QStringLiteral("rss"), QStringLiteral("webpage"), QStringLiteral("x")});
        m_enabledPopup->addItems({QStringLiteral("true"), QStringLiteral("false")});
        setMinimumSize(scaledToFont(QSize(420, 188)));

        auto* column = new QVBoxLayout(this);
        column->setContentsMargins(0, 4, 0, 4);
        column->setSpacing(8);
        column->addLayout(sourceFormRow(QStringLiteral("Type"), m_typePopup));
        column->addLayout(sourceFormRow(QStringLiteral("ID"), m_idField));
        column->addLayout(sourceFormRow(QStringLiteral("Name"), m_nameField));
        column->addLayout(sourceFormRow(QStringLiteral("URL"), m_urlField));
        column->addLayout(sourceFormRow(QStringLiteral("Enabled"), m_enabledPopup));
    }

    /// Returns the source that the fields describe.
    NewNewsSource source() const
    {
        return {
            .type = m_typePopup->titleOfSelectedItem(QStringLiteral("rss")),
            .id = m_idField->text(),
            .name = m_nameField->text(),
            .url = m_urlField->text(),
            .isEnabled = m_enabledPopup->titleOfSelectedItem(QStringLiteral("true")) == QStringLiteral("true"),
        };
    }

private:
    PopUpButton* m_typePopup = new PopUpButton(this);
    QLineEdit* m_idField = makeField({}, this);
    QLineEdit* m_nameField = makeField({}, this);
    QLineEdit* m_urlField = makeField({}, this);
    PopUpButton* m_enabledPopup = new PopUpButton(this);
};

} // namespace

NewsSourceSection::NewsSourceSection(QWidget* parent)
    : QWidget(parent), m_sourcePopup(new PopUpButton(this)), m_sourceSummaryLabel(new Label({}, this))
{
    m_sourcePopup->setObjectName(QStringLiteral("sourcePopup"));
    m_sourcePopup->setMinimumWidth(scaledToFont(120)); // a long title is elided, so that the buttons have room
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
    if (!callOrAlert(this, QStringLiteral("Add Source Failed"), "add_news_source", {toJson(form.source())}))
        return;
    reloadSources();
    emit statusChanged(QStringLiteral("Source added."));
}
