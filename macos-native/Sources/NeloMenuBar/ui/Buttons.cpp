#include "ui/Buttons.h"

#include <QStyleOptionFocusRect>
#include <QStylePainter>

namespace {

/// A button that shows the keyboard focus also while it is the default button of its dialog. Some styles draw every
/// default button as if it had the focus.
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
    button->setAutoDefault(false); // otherwise Return in a field would press the first button
    button->setAccessibleName(title);
    return button;
}
