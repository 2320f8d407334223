#pragma once

#include "shell/primitives/ViewController.h"

/// A tab that shows one read-only text in a monospaced font and scrolls.
class TextBlockController final : public ViewController
{
    Q_OBJECT

public:
    /// `content` is plain text.
    explicit TextBlockController(QString content, QWidget* parent = nullptr);

protected:
    void loadView() override;

private:
    QString m_content;
};
