#pragma once

#include <QStringList>

/// The ecosystems of agents that Nelo knows, by their names. The functions that return a path treat any other name as
/// openclaw.
namespace Ecosystem {

/// The default ecosystem.
inline const QString openclaw = QStringLiteral("openclaw");

/// Returns the names of all ecosystems, the default one first.
QStringList all();

/// Returns the path of the configuration file that all agents of `ecosystem` share in the home folder `home`.
QString configPath(const QString& ecosystem, const QString& home);

/// Returns the folder in which an agent that Nelo creates keeps its work.
QString workspacePath(const QString& ecosystem, const QString& agentId, const QString& home);

} // namespace Ecosystem
