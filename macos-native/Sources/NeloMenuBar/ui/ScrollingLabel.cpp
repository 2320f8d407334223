#include "ui/ScrollingLabel.h"

#include "ui/Colors.h"

#include <QApplication>
#include <QEvent>
#include <QTextLayout>

#include <cmath>

namespace {

/// Returns the height of a line with Latin and Chinese letters. The Chinese ones come from another font with higher
/// lines.
double mixedLineHeight(const QFont& font)
{
    QTextLayout layout(QStringLiteral("Ag天"), font);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    line.setLeadingIncluded(true);
    layout.endLayout();
    return line.height();
}

} // namespace

ScrollingLabel::ScrollingLabel(int lines, QWidget* parent) : QPlainTextEdit(parent), m_lines(lines)
{
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTabChangesFocus(true);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff); // lines wrap; blanks at their ends need no room
    viewport()->setAutoFillBackground(false);
    document()->setDocumentMargin(0);
    applyEmphasis();
    applyHeight();
}

void ScrollingLabel::setText(const QString& text)
{
    setPlainText(text);
    setAccessibleName(text);
}

void ScrollingLabel::changeEvent(QEvent* event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        applyEmphasis();
    if (event->type() == QEvent::FontChange)
        applyHeight();
}

void ScrollingLabel::applyEmphasis()
{
    const QColor color =
        Colors::secondaryText(parentWidget() ? parentWidget()->palette() : QApplication::palette(this));
    if (palette().color(QPalette::Text) == color)
        return; // setting the same color would send another event of a changed palette
    QPalette palette;
    palette.setColor(QPalette::Text, color);
    setPalette(palette);
}

void ScrollingLabel::applyHeight()
{
    setFixedHeight(static_cast<int>(std::ceil(m_lines * mixedLineHeight(font())))
                   + 1); // without the 1, a text that fills it exactly would scroll
}
