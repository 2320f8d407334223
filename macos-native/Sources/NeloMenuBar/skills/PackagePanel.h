#pragma once

#include <QString>

#include <optional>

class QWidget;

/// Asks for the file of a skill package, first on the user's desktop, and returns its path; nothing when the user
/// declines. Which kind of file it is is not checked. Runs an event loop.
std::optional<QString> askForSkillPackage(QWidget* parent);
