#pragma once

#include "shell/primitives/ViewController.h"

#include <QList>

class QAction;

/// The status menu's entries as buttons, for desktops that have no status area to open the menu from.
class LauncherViewController final : public ViewController
{
    Q_OBJECT

public:
    /// `entries` outlive this; separators among them are left out.
    explicit LauncherViewController(QList<QAction*> entries, QWidget* parent = nullptr);

protected:
    void loadView() override;

private:
    QList<QAction*> m_entries; // not ours
};
