#pragma once

#include <QMenu>

/// The status item's menu. While it is open its items' shortcuts work; it belongs to no window, where Qt would look for
/// them.
class StatusMenu final : public QMenu
{
    Q_OBJECT

public:
    using QMenu::QMenu;

protected:
    void keyPressEvent(QKeyEvent* event) override;
};
