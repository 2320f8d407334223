#pragma once

#include "shell/primitives/ViewController.h"

class StatusLine;
class WrappingLabel;

/// The Runtime tab: shows how the `openclaw` runtime is installed on this machine. It changes nothing there.
class RuntimeViewController final : public ViewController
{
    Q_OBJECT

public:
    explicit RuntimeViewController(QWidget* parent = nullptr);

    /// Calls the backend, blocks until it has answered, and shows the report.
    void refreshRuntime();

protected:
    void loadView() override;
    void viewDidLoad() override;

private:
    WrappingLabel* m_summaryLabel = nullptr; // child of this
    StatusLine* m_statusLabel = nullptr;     // child of this
};
