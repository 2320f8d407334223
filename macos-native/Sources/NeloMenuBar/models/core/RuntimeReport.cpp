#include "models/core/RuntimeReport.h"

#include "backend/BackendReply.h"

#include <QStringList>

namespace {

/// Returns "yes" only for the boolean true. The text "yes" and the number 1 give "no".
QString yesOrNo(const Json& runtime, const char* key)
{
    return isTrue(runtime, key) ? QStringLiteral("yes") : QStringLiteral("no");
}

QString reportLines(const Json& runtime)
{
    const QStringList lines{
        QStringLiteral("OS: ") + textOf(runtime, "os"),
        QStringLiteral("Installed: ") + yesOrNo(runtime, "installed"),
        QStringLiteral("Binary: ") + textOf(runtime, "binaryPath", QStringLiteral("(not found)")),
        QStringLiteral("Version: ") + textOf(runtime, "version", QStringLiteral("(unknown)")),
        QStringLiteral("App: ") + yesOrNo(runtime, "appExists") + QStringLiteral(" (") + textOf(runtime, "appPath")
            + u')',
        QStringLiteral("Config: ") + yesOrNo(runtime, "configExists") + QStringLiteral(" (")
            + textOf(runtime, "configPath") + u')',
        QStringLiteral("Script installer: mac/linux -> install.sh, windows -> install.cmd"),
    };
    return lines.join(u'\n');
}

} // namespace

RuntimeReport runtimeReport(const BackendReply& reply)
{
    const Json runtime = reply.object();
    if (!runtime.empty())
        return {reportLines(runtime), QStringLiteral("Runtime status refreshed.")};
    return {reply.isError() ? reply.text() : QStringLiteral("Runtime status unavailable."),
            QStringLiteral("Failed to refresh runtime status.")};
}
