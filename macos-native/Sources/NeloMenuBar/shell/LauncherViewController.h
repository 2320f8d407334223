#pragma once

#include "shell/primitives/ViewController.h"

#include <QList>

class QAction;

/// The status menu's entries as buttons, for desktops without a status area.
class LauncherViewController final : public ViewController
{
    Q_OBJECT

public:
    /// `entries` must outlive this object. Separators get no button.
    explicit LauncherViewController(QList<QAction*> entries, QWidget* parent = nullptr);

protected:
    void loadView() override;

private:
    QList<QAction*> m_entries; // not owned
};
