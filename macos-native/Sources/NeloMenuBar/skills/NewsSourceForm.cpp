#include "skills/NewsSourceForm.h"

#include "skills/core/NewsSource.h"
#include "ui/Forms.h"
#include "ui/PopUpButton.h"
#include "ui/TextScale.h"

#include <QLineEdit>
#include <QVBoxLayout>

namespace {

QHBoxLayout* sourceFormRow(const QString& label, QWidget* field)
{
    return formRow(label, field, {.labelWidth = 72, .spacing = 8});
}

} // namespace

NewsSourceForm::NewsSourceForm(QWidget* parent)
    : QWidget(parent), m_typePopup(new PopUpButton(this)), m_idField(makeField({}, this)),
      m_nameField(makeField({}, this)), m_urlField(makeField({}, this)), m_enabledPopup(new PopUpButton(this))
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

NewNewsSource NewsSourceForm::source() const
{
    return {
        .type = m_typePopup->titleOfSelectedItem(QStringLiteral("rss")),
        .id = m_idField->text(),
        .name = m_nameField->text(),
        .url = m_urlField->text(),
        .isEnabled = m_enabledPopup->titleOfSelectedItem(QStringLiteral("true")) == QStringLiteral("true"),
    };
}
