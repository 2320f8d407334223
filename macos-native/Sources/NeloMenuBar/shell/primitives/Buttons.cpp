#include "shell/primitives/Buttons.h"

QPushButton* makeButton(const QString& title, QWidget* parent)
{
    auto* button = new QPushButton(QString(title).replace(u'&', QStringLiteral("&&")), parent);
    button->setAutoDefault(false); // Return in a field is not a click on whichever button comes first
    button->setAccessibleName(title);
    return button;
}
