#include "chat/ApiKeyDialog.h"

#include "base/Provider.h"
#include "ui/Alerts.h"
#include "ui/TextScale.h"

#include <QLineEdit>

std::optional<QString> askForApiKey(QWidget* parent, const QString& model, const QString& storedKey)
{
    const QString provider = Provider::ofModel(model);
    QLineEdit field;
    field.setEchoMode(QLineEdit::Password);
    field.setFixedSize(scaledToFont(QSize(280, 24)));
    field.setPlaceholderText(provider.toUpper() + QStringLiteral(" API Key"));
    field.setAccessibleName(field.placeholderText());
    field.setText(storedKey);

    const DialogAnswer answer = runDialog(parent, QStringLiteral("Configure API Key"),
                                          provider + QStringLiteral(" / ") + model, &field, QStringLiteral("Save"));
    if (answer == DialogAnswer::Cancelled)
        return std::nullopt;
    return field.text().trimmed();
}
