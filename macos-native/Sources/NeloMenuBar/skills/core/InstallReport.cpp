#include "skills/core/InstallReport.h"

#include <array>

namespace {

/// A restart that an installation may need.
struct Restart
{
    const char* name;
    const char* methodKey;
    const char* successKey;
};

constexpr std::array restarts{
    Restart{"Restart: ", "restartMethod", "restartSucceeded"},
    Restart{"Gateway: ", "gatewayRestartMethod", "gatewayRestartSucceeded"},
};

bool wasAttempted(const Restart& restart, const Json& result)
{
    return !textOf(result, restart.methodKey).isEmpty();
}

QString describe(const Restart& restart, const Json& result)
{
    const QString name = QString::fromLatin1(restart.name);
    if (!wasAttempted(restart, result))
        return name + QStringLiteral("not attempted");
    return name + textOf(result, restart.methodKey)
           + (isTrue(result, restart.successKey) ? QStringLiteral(" (ok)") : QStringLiteral(" (check)"));
}

} // namespace

QString installStatus(const QString& subject, const Json& result)
{
    QString status =
        QStringLiteral("Installed ") + subject + QStringLiteral(" to ") + textOf(result, "targetDir") + u'.';
    for (const Restart& restart : restarts) {
        if (wasAttempted(restart, result))
            status += u' ' + describe(restart, result);
    }
    return status;
}

QString installSummary(const Json& result)
{
    QString summary = QStringLiteral("Target: ") + textOf(result, "targetDir");
    for (const Restart& restart : restarts)
        summary += u'\n' + describe(restart, result);
    return summary;
}
