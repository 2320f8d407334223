#pragma once

#include <QWidget>

#include <memory>
#include <string>

// The cost of Qt alone: the controls of a window, made by hand and without functions.

/// The settings window: a form in a scroll area.
std::unique_ptr<QWidget> makeBareSettingsWindow();

/// The backend's answers that the console window shows. All are arrays of objects, except the runtime's.
struct ConsoleReplies
{
    std::string agents;
    std::string runtime;
    std::string localAgents;
    std::string skills;
};

/// The console window: its five tabs.
std::unique_ptr<QWidget> makeBareConsoleWindow(const ConsoleReplies& replies);
