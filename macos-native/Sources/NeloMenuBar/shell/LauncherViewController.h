#pragma once

#include "shell/primitives/ViewController.h"

#include <QList>

class QAction;

/// The status menu's items as buttons, for desktops without a status area.
class LauncherViewController final : public ViewController
{
    Q_OBJECT

public:
    /// `items` must outlive this object. Separators get no button.
    explicit LauncherViewController(QList<QAction*> items, QWidget* parent = nullptr);

protected:
    void loadView() override;

private:
    QList<QAction*> m_items; // not owned
};
