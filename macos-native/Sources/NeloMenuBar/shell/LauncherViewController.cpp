#include "shell/LauncherViewController.h"

#include "ui/Buttons.h"

#include <QAction>
#include <QPushButton>
#include <QVBoxLayout>

LauncherViewController::LauncherViewController(QList<QAction*> entries, QWidget* parent)
    : ViewController(parent), m_entries(std::move(entries))
{}

void LauncherViewController::loadView()
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(16, 16, 16, 16);
    column->setSpacing(8);
    for (QAction* entry : std::as_const(m_entries)) {
        if (entry->isSeparator())
            continue;
        QPushButton* button = makeButton(entry->text(), this);
        connect(button, &QPushButton::clicked, entry, &QAction::trigger);
        column->addWidget(button);
    }
    setFocus(); // no button has the focus: keys typed for another program while the window appears must press none
}
