#include "ui/ApplicationIcon.h"

#include <QApplication>
#include <QIcon>

void setApplicationIcon()
{
    if (!QApplication::windowIcon().isNull())
        return;
    QIcon icon;
    for (const int side : {16, 32, 48, 128})
        icon.addFile(QStringLiteral(":/icons/%1.png").arg(side)); // of the program's resources
    QApplication::setWindowIcon(icon);
}
