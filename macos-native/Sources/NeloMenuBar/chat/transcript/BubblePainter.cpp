#include "chat/transcript/BubblePainter.h"

#include "chat/transcript/TranscriptLayout.h"
#include "ui/Colors.h"

#include <QPainter>
#include <QTextCharFormat>

#include <algorithm>

namespace {

struct BubbleColors
{
    QColor background;
    QColor border;
    QColor text;
    QColor focus;
    QColor selection;
    QColor selectedText;
};

BubbleColors colorsOf(Speaker speaker, const QPalette& palette)
{
    if (speaker == Speaker::User) {
        const QColor blue = QColor::fromRgbF(0.2F, 0.47F, 0.94F);
        return {blue, blue, Qt::white, Qt::white, palette.color(QPalette::Base), palette.color(QPalette::Text)};
    }
    return {Colors::white(0.98),
            Colors::white(0.86),
            palette.color(QPalette::WindowText),
            palette.color(QPalette::Highlight),
            palette.color(QPalette::Highlight),
            palette.color(QPalette::HighlightedText)};
}

/// The part of a bubble that touches `clip` and the corners beyond it: what a painter can still count of one that is
/// millions of pixels high.
QRectF paintable(const QRect& bubble, const QRect& clip)
{
    constexpr int beyond = 2 * TranscriptLayout::bubbleRadius;
    const int top = std::max(bubble.top(), clip.top() - beyond);
    const int bottom = std::min(bubble.bottom(), clip.bottom() + beyond);
    return QRect(bubble.left(), top, bubble.width(), bottom - top + 1);
}

void paintBackground(QPainter& painter, const QRectF& bubble, const BubbleColors& colors, bool hasFocus)
{
    constexpr double radius = TranscriptLayout::bubbleRadius;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colors.border, 1));
    painter.setBrush(colors.background);
    painter.drawRoundedRect(bubble.adjusted(0.5, 0.5, -0.5, -0.5), radius - 0.5, radius - 0.5);
    if (!hasFocus)
        return;
    painter.setPen(QPen(colors.focus, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(bubble.adjusted(3, 3, -3, -3), radius - 3, radius - 3);
}

} // namespace

void paintRow(QPainter& painter, const TranscriptLayout& rows, int index, int scrolledBy, const QRect& clip,
              const QPalette& palette, const RowState& state)
{
    const Bubble& bubble = rows.bubble(index);
    const BubbleColors colors = colorsOf(bubble.speaker(), palette);

    painter.setFont(rows.speakerFont());
    painter.setPen(Colors::secondaryText(palette));
    painter.drawText(rows.speakerRect(index).translated(0, -scrolledBy), static_cast<int>(Qt::AlignLeft),
                     nameOf(bubble.speaker()));

    paintBackground(painter, paintable(rows.bubbleRect(index).translated(0, -scrolledBy), clip), colors,
                    state.hasFocus);

    QTextCharFormat selected;
    selected.setBackground(colors.selection);
    selected.setForeground(colors.selectedText);
    painter.setPen(colors.text);
    bubble.draw(painter, rows.textOrigin(index) - QPoint(0, scrolledBy), clip, state.selection, selected);
}
