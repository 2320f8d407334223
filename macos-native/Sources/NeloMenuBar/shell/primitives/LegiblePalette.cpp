#include "shell/primitives/LegiblePalette.h"

#include "shell/primitives/Colors.h"

#include <QApplication>
#include <QEvent>

namespace {

void makeLegible()
{
    const QPalette palette = QApplication::palette();
    const QPalette legible = Colors::legible(palette);
    if (legible != palette) // else it would be announced without end
        QApplication::setPalette(legible);
}

} // namespace

LegiblePalette::LegiblePalette(QObject* parent) : QObject(parent)
{
    makeLegible();
    qApp->installEventFilter(this);
}

bool LegiblePalette::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange)
        makeLegible();
    return QObject::eventFilter(watched, event);
}
