#include "chat/ApiKeyDialog.h"

#include "chat/core/ChatReport.h"
#include "ui/Alerts.h"
#include "ui/TextScale.h"

#include <QLineEdit>

std::optional<QString> askForApiKey(QWidget* parent, const ChatTarget& target, const QString& storedKey)
{
    QLineEdit field;
    field.setEchoMode(QLineEdit::Password);
    field.setFixedSize(scaledToFont(QSize(280, 24)));
    field.setPlaceholderText(target.provider.toUpper() + QStringLiteral(" API Key"));
    field.setAccessibleName(field.placeholderText());
    field.setText(storedKey);

    const DialogAnswer answer =
        runDialog(parent, QStringLiteral("Configure API Key"), target.provider + QStringLiteral(" / ") + target.model,
                  &field, QStringLiteral("Save"));
    if (answer == DialogAnswer::Cancelled)
        return std::nullopt;
    return field.text().trimmed();
}
