#pragma once

#include <QString>

/// The configuration file of `ecosystem` in the home folder `home`: one file for all its agents. Anything that is not
/// exactly "codex" or "kimi" counts as openclaw.
QString configPath(const QString& ecosystem, const QString& home);

/// Where an agent that is created here keeps its work. The ecosystem counts as in `configPath`.
QString defaultWorkspacePath(const QString& ecosystem, const QString& agentId, const QString& home);
