#pragma once

#include "shell/primitives/ViewController.h"

/// A tab that has nothing to do yet: a title and a paragraph that says what it is for.
class PlaceholderInfoController final : public ViewController
{
    Q_OBJECT

public:
    /// Both are plain text.
    explicit PlaceholderInfoController(QString titleText, QString bodyText = {}, QWidget* parent = nullptr);

protected:
    void loadView() override;

private:
    QString m_titleText;
    QString m_bodyText;
};
