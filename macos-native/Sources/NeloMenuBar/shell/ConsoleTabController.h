#pragma once

#include "shell/primitives/ViewController.h"

/// The content of the console window: a line that introduces the product, and a tab for each console function. All tabs
/// load with the console, in their order, and keep their state as long as it lives.
class ConsoleTabController final : public ViewController
{
    Q_OBJECT

public:
    explicit ConsoleTabController(QWidget* parent = nullptr);

protected:
    void loadView() override;
};
