#include "agents/core/AgentPaths.h"

QString configPath(const QString& ecosystem, const QString& home)
{
    if (ecosystem == QStringLiteral("codex"))
        return home + QStringLiteral("/.codex/config.json");
    if (ecosystem == QStringLiteral("kimi"))
        return home + QStringLiteral("/.kimi/config.json");
    return home + QStringLiteral("/.openclaw/openclaw.json");
}

QString defaultWorkspacePath(const QString& ecosystem, const QString& agentId, const QString& home)
{
    if (ecosystem == QStringLiteral("codex"))
        return home + QStringLiteral("/.codex/agents/") + agentId;
    if (ecosystem == QStringLiteral("kimi"))
        return home + QStringLiteral("/.kimi/agents/") + agentId;
    return home + QStringLiteral("/.openclaw/agents/") + agentId;
}
