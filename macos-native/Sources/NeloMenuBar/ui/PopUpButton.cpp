#include "ui/PopUpButton.h"

#include "ui/SingleLine.h"

#include <QAbstractItemView>
#include <QAccessibleWidget>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QWheelEvent>

namespace {

/// A pop-up button with its list as the only child. On Linux, Qt's own interface has the selected title as its name,
/// and Orca, which prefers the caption to the name, never speaks the title. Orca does speak the text of a combo box.
class PopUpAccessible final : public QAccessibleWidget, public QAccessibleTextInterface
{
public:
    explicit PopUpAccessible(PopUpButton* popup) : QAccessibleWidget(popup, QAccessible::ComboBox), m_popup(popup) {}

    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::TextInterface ? static_cast<QAccessibleTextInterface*>(this)
                                                  : QAccessibleWidget::interface_cast(type);
    }

    int childCount() const override { return 1; }
    QAccessibleInterface* child(int index) const override
    {
        return index == 0 ? QAccessible::queryAccessibleInterface(m_popup->view()) : nullptr;
    }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        return child && child->object() == m_popup->view() ? 0 : -1;
    }

    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Value ? m_popup->currentText() : QAccessibleWidget::text(kind);
    }

    QStringList actionNames() const override { return {showMenuAction(), pressAction(), setFocusAction()}; }
    void doAction(const QString& action) override
    {
        if (action != showMenuAction() && action != pressAction())
            QAccessibleWidget::doAction(action);
        else if (m_popup->view()->isVisible())
            m_popup->hidePopup();
        else if (m_popup->isEnabled())
            m_popup->showPopup();
    }

    QString text(int start, int end) const override { return m_popup->currentText().mid(start, end - start); }
    int characterCount() const override { return static_cast<int>(m_popup->currentText().size()); }
    QString attributes(int /*offset*/, int* start, int* end) const override
    {
        *start = 0;
        *end = characterCount();
        return {};
    }
    QRect characterRect(int /*offset*/) const override { return rect(); }
    int offsetAtPoint(const QPoint& /*point*/) const override { return -1; }
    void scrollToSubstring(int /*start*/, int /*end*/) override {}

    // The text has neither a cursor nor a selection.
    int cursorPosition() const override { return 0; }
    void setCursorPosition(int /*position*/) override {}
    void selection(int /*index*/, int* start, int* end) const override { *start = *end = 0; }
    int selectionCount() const override { return 0; }
    void addSelection(int /*start*/, int /*end*/) override {}
    void removeSelection(int /*index*/) override {}
    void setSelection(int /*index*/, int /*start*/, int /*end*/) override {}

private:
    PopUpButton* m_popup;
};

QAccessibleInterface* makeInterface(const QString& /*className*/, QObject* object)
{
    auto* popup = qobject_cast<PopUpButton*>(object);
    return popup ? new PopUpAccessible(popup) : nullptr;
}

} // namespace

PopUpButton::PopUpButton(QWidget* parent) : QComboBox(parent)
{
    QAccessible::installFactory(makeInterface); // only the first call has an effect
    setFocusPolicy(Qt::StrongFocus);            // the wheel does not give the focus
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
