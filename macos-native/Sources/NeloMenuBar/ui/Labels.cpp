#include "ui/Labels.h"

#include "ui/Colors.h"
#include "ui/SingleLine.h"
#include "ui/TextScale.h"

#include <QApplication>
#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

namespace {

/// Gives `label` the text color of `emphasis`, which is mixed from the palette that the label inherits.
void setTextColor(QLabel& label, Emphasis emphasis)
{
    if (emphasis == Emphasis::Primary)
        return;
    const QPalette inherited = label.parentWidget() ? label.parentWidget()->palette() : QApplication::palette(&label);
    const QColor color = Colors::secondaryText(inherited);
    if (label.palette().color(QPalette::WindowText) == color)
        return; // setting the same color would send another event of a changed palette
    QPalette palette;
    palette.setColor(QPalette::WindowText, color);
    label.setPalette(palette);
}

} // namespace

QFont fontOfSize(const QFont& font, int size, QFont::Weight weight)
{
    QFont result(font);
    result.setPointSizeF(pointsScaledToFont(size));
    result.setWeight(weight);
    return result;
}

void showToolTip(QPoint globalPos, const QString& text, QWidget* widget)
{
    constexpr qsizetype maxCharacters = 5000;
    // A tool tip guesses whether its text is markup, and has no setting for plain text.
    QToolTip::showText(globalPos, Qt::convertFromPlainText(text.left(maxCharacters)), widget);
}

Label::Label(const QString& text, QWidget* parent) : QLabel(text, parent)
{
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void Label::setEmphasis(Emphasis emphasis)
{
    m_emphasis = emphasis;
    applyEmphasis();
}

QSize Label::sizeHint() const
{
    return {lineWidth() + 1, fontMetrics().height()};
}

QSize Label::minimumSizeHint() const
{
    return {0, fontMetrics().height()};
}

bool Label::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip && isElided()) {
        showToolTip(static_cast<QHelpEvent*>(event)->globalPos(), text(), this);
        return true;
    }
    return QLabel::event(event);
}

void Label::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    const QString line = singleLine(text());
    const QString shown = isElided() ? fontMetrics().elidedText(line, Qt::ElideRight, width()) : line;
    // The text stands on the base line of the label's own font. Chinese letters come from another font, with higher
    // lines: centred by that height, the text would lose its lower edge.
    const int shownWidth = isElided() ? fontMetrics().horizontalAdvance(shown) : lineWidth();
    const QSize extent(shownWidth, fontMetrics().height());
    const QPoint corner = QStyle::alignedRect(layoutDirection(), alignment(), extent, rect()).topLeft();
    painter.drawText(corner.x(), corner.y() + fontMetrics().ascent(), shown);
}

void Label::changeEvent(QEvent* event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        m_measuredText.clear();
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ParentChange)
        applyEmphasis();
}

void Label::applyEmphasis()
{
    setTextColor(*this, m_emphasis);
}

/// Returns the width of the whole text on one line.
int Label::lineWidth() const
{
    if (m_measuredText != text()) {
        m_measuredText = text();
        m_lineWidth = fontMetrics().horizontalAdvance(singleLine(m_measuredText));
    }
    return text().isEmpty() ? 0 : m_lineWidth;
}

bool Label::isElided() const
{
    return lineWidth() > width();
}

StatusLine::StatusLine(const QString& objectName, const QString& text, QWidget* parent) : Label(text, parent)
{
    setObjectName(objectName);
    setEmphasis(Emphasis::Secondary);
}

void StatusLine::showAndAnnounce(const QString& text)
{
    if (text == this->text())
        return;
    setText(text);
    m_announcer.announce(text);
}

Label* makeSecondaryLabel(const QString& objectName, const QString& text, QWidget* parent)
{
    auto* label = new Label(text, parent);
    label->setObjectName(objectName);
    label->setEmphasis(Emphasis::Secondary);
    return label;
}

WrappingLabel::WrappingLabel(const QString& text, QWidget* parent) : QLabel(text, parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
}

void WrappingLabel::setEmphasis(Emphasis emphasis)
{
    m_emphasis = emphasis;
    applyEmphasis();
}

// A layout gives the label its height for the width that there is.
QSize WrappingLabel::sizeHint() const
{
    return minimumSizeHint();
}

// The base class returns the same, but lays out the text a dozen times for it.
QSize WrappingLabel::minimumSizeHint() const
{
    ensurePolished();
    const auto extent = [this](int width) {
        return fontMetrics().boundingRect(QRect(0, 0, width, 0), Qt::TextWordWrap, text()).size();
    };
    return {extent(0).width(), extent(QWIDGETSIZE_MAX).height()};
}

int WrappingLabel::heightForWidth(int width) const
{
    if (m_measuredText != text()) {
        m_measuredText = text();
        m_heights.clear();
    }
    const auto known = m_heights.constFind(width);
    return known != m_heights.cend() ? *known : *m_heights.insert(width, QLabel::heightForWidth(width));
}

void WrappingLabel::changeEvent(QEvent* event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        m_heights.clear();
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ParentChange)
        applyEmphasis();
}

void WrappingLabel::applyEmphasis()
{
    setTextColor(*this, m_emphasis);
}

QLabel* makeSupportLine(int linkSize, QWidget* parent)
{
    const QString introduction = QStringLiteral("Nelo为您提供最简单的AI入口服务。客服请联系我们：");
    const QString address = QStringLiteral(NELO_SUPPORT_URL);
    const QString domain = QStringLiteral(NELO_SUPPORT_DOMAIN);

    auto* line = new QLabel(parent);
    line->setTextFormat(Qt::RichText); // no part of the text comes from outside
    // Without a color of its own, a link has the color of the system's theme, on any background.
    line->setText(QStringLiteral("%1<a href=\"%2\" style=\"font-size:%3pt; font-weight:500; "
                                 "text-decoration:underline; color:%4\">%5</a>")
                      .arg(introduction, address.toHtmlEscaped(), QString::number(pointsScaledToFont(linkSize)),
                           line->palette().color(QPalette::Link).name(), domain.toHtmlEscaped()));
    line->setTextInteractionFlags(Qt::TextBrowserInteraction | Qt::TextSelectableByKeyboard);
    line->setOpenExternalLinks(true);
    line->setAlignment(Qt::AlignCenter);
    line->setAccessibleName(introduction + domain);
    return line;
}
