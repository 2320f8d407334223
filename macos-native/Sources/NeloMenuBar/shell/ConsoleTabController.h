#pragma once

#include "shell/primitives/ViewController.h"

/// The content of the console window: a line that introduces the product, and the tabs. All tabs load with the console,
/// in their order, and keep their state as long as the console exists.
class ConsoleTabController final : public ViewController
{
    Q_OBJECT

public:
    explicit ConsoleTabController(QWidget* parent = nullptr);

protected:
    void loadView() override;
};
