#include "shell/LauncherViewController.h"

#include "ui/Buttons.h"

#include <QAction>
#include <QPushButton>
#include <QVBoxLayout>

LauncherViewController::LauncherViewController(QList<QAction*> items, QWidget* parent)
    : ViewController(parent), m_items(std::move(items))
{}

void LauncherViewController::loadView()
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(16, 16, 16, 16);
    column->setSpacing(8);
    for (QAction* item : std::as_const(m_items)) {
        if (item->isSeparator())
            continue;
        QPushButton* button = makeButton(item->text(), this);
        connect(button, &QPushButton::clicked, item, &QAction::trigger);
        column->addWidget(button);
    }
    setFocus(); // no button has the focus: keys typed for another program while the window appears must press none
}
