#pragma once

#include "shell/primitives/ViewController.h"

/// A tab without a function yet: a title, and a paragraph that tells its purpose.
class PlaceholderInfoController final : public ViewController
{
    Q_OBJECT

public:
    /// Both texts are plain text.
    explicit PlaceholderInfoController(QString titleText, QString bodyText = {}, QWidget* parent = nullptr);

protected:
    void loadView() override;

private:
    QString m_titleText;
    QString m_bodyText;
};
