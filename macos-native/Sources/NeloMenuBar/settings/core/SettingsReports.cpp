#include "settings/core/SettingsReports.h"

#include "backend/BackendReply.h"

SaveReport saveReport(const BackendReply& reply, const std::optional<QString>& keyFailure)
{
    if (reply.isError() && keyFailure)
        return {reply.text() + QStringLiteral(". The API keys were not saved: ") + *keyFailure, false};
    if (reply.isError())
        return {reply.text()};
    if (keyFailure)
        return {QStringLiteral("Settings saved, but the API keys were not: ") + *keyFailure, false};
    return {QStringLiteral("Settings saved: ") + textOf(reply.object(), "path", QStringLiteral("(unknown)"))};
}

QString catalogStatus(const SaveReport& saved, const BackendReply& reply)
{
    const QString count = textOf(reply.object(), "count", QStringLiteral("0"));
    const QString status =
        reply.isError() ? reply.text() : QStringLiteral("Cloud catalog refreshed (%1 skills).").arg(count);
    return saved.areKeysStored ? status : saved.status + QStringLiteral(". ") + status;
}
