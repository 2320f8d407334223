#include "ui/Buttons.h"

#include <QStyleOptionFocusRect>
#include <QStylePainter>

namespace {

/// Shows that it has the keyboard also while it is its dialog's default: some styles draw a default button as one that
/// has the keyboard, whether it has it or not.
class Button final : public QPushButton
{
public:
    using QPushButton::QPushButton;

protected:
    void paintEvent(QPaintEvent* event) override
    {
        QPushButton::paintEvent(event);
        if (!hasFocus() || !isDefault())
            return;
        constexpr int inset = 3;
        QStylePainter painter(this);
        QStyleOptionFocusRect option;
        option.initFrom(this);
        option.rect.adjust(inset, inset, -inset, -inset);
        painter.drawPrimitive(QStyle::PE_FrameFocusRect, option);
    }
};

} // namespace

QPushButton* makeButton(const QString& title, QWidget* parent)
{
    auto* button = new Button(QString(title).replace(u'&', QStringLiteral("&&")), parent);
    button->setAutoDefault(false); // Return in a field is not a click on whichever button comes first
    button->setAccessibleName(title);
    return button;
}
