#pragma once

#include <QWidget>

#include <memory>

/// What Qt alone costs: the controls of the settings window in a scroll area, by hand, with nothing behind them.
std::unique_ptr<QWidget> makeBareSettingsWindow();
