#include "ui/PopUpButton.h"

#include "ui/SingleLine.h"

#include <QAbstractItemView>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QWheelEvent>

PopUpButton::PopUpButton(QWidget* parent) : QComboBox(parent)
{
    setFocusPolicy(Qt::StrongFocus); // without the wheel
}

void PopUpButton::selectItemWithTitle(const QString& title)
{
    setCurrentIndex(findText(title));
}

QString PopUpButton::titleOfSelectedItem(const QString& whenNone) const
{
    return currentIndex() < 0 ? whenNone : currentText();
}

void PopUpButton::showPopup()
{
    QComboBox::showPopup();
    view()->installEventFilter(this); // again: the last one installed is the first one asked
}

/// While assistive technology listens, Qt hands each key on a second time, also to a list that the key has closed.
/// Return would choose again.
bool PopUpButton::eventFilter(QObject* watched, QEvent* event)
{
    const bool isKey = event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress;
    if (isKey && watched == view() && !view()->isVisible())
        return true;
    return QComboBox::eventFilter(watched, event);
}

void PopUpButton::initStyleOption(QStyleOptionComboBox* option) const
{
    QComboBox::initStyleOption(option);
    const QRect room = style()->subControlRect(QStyle::CC_ComboBox, option, QStyle::SC_ComboBoxEditField, this);
    option->currentText = option->fontMetrics.elidedText(singleLine(option->currentText), Qt::ElideRight, room.width());
}

// Not in the constructor: this makes the list that drops down, which is eight widgets for each button of a window. A
// combo box measures its items until it is shown anyway.
void PopUpButton::showEvent(QShowEvent* event)
{
    setSizeAdjustPolicy(AdjustToContents);
    QComboBox::showEvent(event);
}

void PopUpButton::wheelEvent(QWheelEvent* event)
{
    event->ignore();
}
