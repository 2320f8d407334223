#include "shell/StatusMenu.h"

#include <QKeyEvent>

#include <algorithm>

void StatusMenu::keyPressEvent(QKeyEvent* event)
{
    const QKeySequence pressed(event->keyCombination());
    const QList<QAction*> items = actions();
    const auto item = std::find_if(items.begin(), items.end(), [&pressed](const QAction* action) {
        return !action->shortcut().isEmpty() && action->shortcut() == pressed;
    });
    if (item == items.end()) {
        QMenu::keyPressEvent(event);
        return;
    }
    close();
    (*item)->trigger();
}
