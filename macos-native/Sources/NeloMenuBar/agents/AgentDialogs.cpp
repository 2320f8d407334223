#include "agents/AgentDialogs.h"

#include "base/Ecosystem.h"
#include "ui/Alerts.h"
#include "ui/Forms.h"
#include "ui/Labels.h"
#include "ui/PopUpButton.h"
#include "ui/TextScale.h"

#include <QLineEdit>
#include <QVBoxLayout>

#include <algorithm>
#include <memory>

namespace {

/// Fixes the size of `widget` at `size`, which is for text of ordinary size, or at the minimum that its style and font
/// need.
void fixSize(QWidget& widget, QSize size)
{
    widget.setFixedSize(scaledToFont(size).expandedTo(widget.minimumSizeHint()));
}

/// The content of the dialog that creates an agent.
class NewAgentForm final : public QWidget
{
public:
    explicit NewAgentForm(const QString& stamp)
    {
        m_ecosystemPopup->setObjectName(QStringLiteral("ecosystemPopup"));
        m_ecosystemPopup->addItems(Ecosystem::all());
        fixSize(*m_ecosystemPopup, {180, 26});
        m_nameField->setObjectName(QStringLiteral("nameField"));
        m_nameField->setText(Ecosystem::openclaw + u' ' + stamp);
        fixSize(*m_nameField, {320, 24});
        auto* note = new WrappingLabel(
            QStringLiteral("Workspace uses the default path automatically. For openclaw, Nelo will launch "
                           "install/configure flow after creating the record."),
            this);
        note->setObjectName(QStringLiteral("note"));
        note->setEmphasis(Emphasis::Secondary);

        auto* column = new QVBoxLayout(this);
        column->setContentsMargins(0, 4, 0, 4);
        column->setSpacing(12);
        column->addLayout(labelRow(QStringLiteral("Ecosystem"), m_ecosystemPopup));
        column->addLayout(labelRow(QStringLiteral("Name"), m_nameField));
        column->addWidget(note);
        column->addStretch();
        const QSize size = scaledToFont(QSize(520, 126));
        setFixedSize(size.width(), std::max(size.height(), column->heightForWidth(size.width())));
    }

    NewAgentChoice choice() const
    {
        return {m_ecosystemPopup->titleOfSelectedItem(Ecosystem::openclaw), m_nameField->text()};
    }

private:
    PopUpButton* m_ecosystemPopup = new PopUpButton(this);
    QLineEdit* m_nameField = makeField({}, this);
};

} // namespace

std::optional<NewAgentChoice> askForNewAgent(QWidget* parent, const QString& stamp)
{
    NewAgentForm form(stamp);
    const DialogAnswer answer =
        runDialog(parent, QStringLiteral("Add Agent"), QStringLiteral("Create a managed agent record."), &form,
                  QStringLiteral("Create"));
    return answer == DialogAnswer::Accepted ? std::optional(form.choice()) : std::nullopt;
}

std::optional<QString> askForName(QWidget* parent, const QString& title, const QString& text, const QString& name)
{
    const std::unique_ptr<QLineEdit> field(makeField({}, nullptr));
    field->setObjectName(QStringLiteral("nameField"));
    field->setAccessibleName(QStringLiteral("Name"));
    fixSize(*field, {280, 24});
    field->setText(name);
    const DialogAnswer answer = runDialog(parent, title, text, field.get(), QStringLiteral("Save"));
    return answer == DialogAnswer::Accepted ? std::optional(field->text().trimmed()) : std::nullopt;
}

QHBoxLayout* labelRow(const QString& label, QWidget* field)
{
    auto* caption = new Label(label, field->parentWidget());
    caption->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    caption->setFixedWidth(scaledToFont(90));
    caption->setBuddy(field);
    field->setFixedWidth(std::max(scaledToFont(280), field->minimumWidth()));

    auto* row = new QHBoxLayout;
    row->setSpacing(10);
    row->addWidget(caption, 0, Qt::AlignVCenter);
    row->addWidget(field, 0, Qt::AlignVCenter);
    row->addStretch();
    return row;
}
