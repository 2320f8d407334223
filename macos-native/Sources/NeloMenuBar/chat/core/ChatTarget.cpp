#include "chat/core/ChatTarget.h"

#include "chat/core/ChatLog.h"

QString ChatTarget::missingKeyEntry() const
{
    return QStringLiteral("send aborted: missing api key for provider=") + provider + QStringLiteral(" model=") + model;
}

QString ChatTarget::missingKeyText() const
{
    return QStringLiteral("Configure an API Key for ") + provider + QStringLiteral(" before sending.");
}

QString ChatTarget::requestStartedEntry(const QString& text) const
{
    return QStringLiteral("request started: provider=") + provider + QStringLiteral(" model=") + model
           + QStringLiteral(" messageChars=") + QString::number(characterCount(text));
}

QString ChatTarget::apiKeyDialogText() const
{
    return provider + QStringLiteral(" / ") + model;
}

QString ChatTarget::apiKeyPlaceholder() const
{
    return provider.toUpper() + QStringLiteral(" API Key");
}
