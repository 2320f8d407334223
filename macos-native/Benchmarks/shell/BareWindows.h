#pragma once

#include <QWidget>

#include <memory>
#include <string>

// What Qt alone costs: the controls of a window by hand, with nothing behind them.

/// The settings window: a form in a scroll area.
std::unique_ptr<QWidget> makeBareSettingsWindow();

/// The backend's answers that the console window shows; arrays of objects, but for the runtime's.
struct ConsoleReplies
{
    std::string agents;
    std::string runtime;
    std::string localAgents;
    std::string skills;
};

/// The console window: its five tabs.
std::unique_ptr<QWidget> makeBareConsoleWindow(const ConsoleReplies& replies);
