#include "ui/PopUpButton.h"

#include "ui/PopUpAccessible.h"
#include "ui/SingleLine.h"

#include <QAbstractItemView>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QWheelEvent>

PopUpButton::PopUpButton(QWidget* parent) : QComboBox(parent)
{
    PopUpAccessible::install();
    setFocusPolicy(Qt::StrongFocus); // the wheel does not give the focus
    connect(this, &QComboBox::textActivated, this, [this](const QString& title) { m_announcer.announce(title); });
}

void PopUpButton::selectItemWithTitle(const QString& title)
{
    setCurrentIndex(findText(title));
}

QString PopUpButton::titleOfSelectedItem(const QString& whenNone) const
{
    return currentIndex() < 0 ? whenNone : currentText();
}

// The base class returns the same, but measures all its items again for it.
QSize PopUpButton::minimumSizeHint() const
{
    return sizeHint();
}

void PopUpButton::showPopup()
{
    QComboBox::showPopup();
    view()->installEventFilter(this); // each time: the filter that was installed last is called first
}

/// Drops keys for a list that is closed. While assistive technology is active, Qt sends each key twice, also to a list
/// that the key has closed: Return would choose a second time.
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

// This is not done in the constructor, because it makes the drop-down list: eight widgets for each button of a window.
// Until it is first shown, a combo box measures its items in any case.
void PopUpButton::showEvent(QShowEvent* event)
{
    setSizeAdjustPolicy(AdjustToContents);
    QComboBox::showEvent(event);
}

void PopUpButton::wheelEvent(QWheelEvent* event)
{
    event->ignore();
}
