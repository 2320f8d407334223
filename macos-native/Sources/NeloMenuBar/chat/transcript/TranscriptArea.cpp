#include "chat/transcript/TranscriptArea.h"

#include "ui/Colors.h"

#include <QPaintEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QTextCharFormat>

#include <algorithm>

namespace {

constexpr int roomBelow = 120; // between the last bubble and the end of the document

/// The state of one row that is drawn with its text.
struct RowState
{
    TextRange selection;
    bool hasFocus = false;
};

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

/// Returns the part of a bubble near `clip`. A painter cannot draw a whole bubble that is millions of pixels high. The
/// part reaches so far beyond `clip` that its round corners are not visible in it.
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
    painter.setPen(Qt::NoPen);
    painter.setBrush(colors.border);
    painter.drawRoundedRect(bubble, radius, radius);
    painter.setBrush(colors.background);
    painter.drawRoundedRect(bubble.adjusted(1, 1, -1, -1), radius - 1, radius - 1);
    if (!hasFocus)
        return;
    painter.setPen(QPen(colors.focus, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(bubble.adjusted(3, 3, -3, -3), radius - 3, radius - 3);
}

/// Draws row `index` of `rows`. The first `scrolledBy` pixels of the rows lie above the view. Parts outside of `clip`
/// need not be drawn.
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

} // namespace

TranscriptArea::TranscriptArea(QWidget* parent) : QAbstractScrollArea(parent), m_rows(font())
{
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    verticalScrollBar()->setSingleStep(20);
    viewport()->setBackgroundRole(QPalette::Window); // opaque: scrolling can move pixels instead of painting
    viewport()->setAutoFillBackground(true);
}

QRect TranscriptArea::bubbleRect(int index) const
{
    return m_rows.bubbleRect(index).translated(0, -scrolledBy());
}

int TranscriptArea::bubbleAt(QPoint point) const
{
    if (count() == 0)
        return -1;
    const int index = m_rows.indexAt(point.y() + scrolledBy());
    return bubbleRect(index).contains(point) ? index : -1;
}

qsizetype TranscriptArea::positionAt(int index, QPoint point)
{
    return m_rows.positionAt(index, point + QPoint(0, scrolledBy()));
}

QRect TranscriptArea::caretRect(int index, qsizetype position)
{
    return m_rows.caretRect(index, position).translated(0, -scrolledBy());
}

void TranscriptArea::clear()
{
    m_rows.clear();
    layOutVisibleRows();
    viewport()->update();
}

void TranscriptArea::append(Speaker speaker, const QString& text)
{
    m_rows.append(speaker, text);
    m_isAtEnd = true;
    m_place.reset();
    if (!isVisible())
        return; // nothing is laid out while it is not visible
    const int before = scrolledBy();
    layOutVisibleRows();
    viewport()->scroll(0, before - scrolledBy());
    QRect below = viewport()->rect();
    below.setTop(m_rows.rowRect(count() - 1).top() - scrolledBy());
    viewport()->update(below);
}

TextRange TranscriptArea::lineAt(int index, qsizetype position)
{
    return m_rows.lineAt(index, position);
}

void TranscriptArea::revealCaret(int index, qsizetype position)
{
    const QRect caret = m_rows.caretRect(index, position);
    reveal(caret.top(), caret.bottom() + 1);
}

void TranscriptArea::revealBubble(int index)
{
    const QRect row = m_rows.rowRect(index);
    reveal(row.top(), row.bottom() + 1);
}

void TranscriptArea::updateBubble(int index)
{
    viewport()->update(bubbleRect(index));
}

void TranscriptArea::changeEvent(QEvent* event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() != QEvent::FontChange)
        return;
    const ReadingPlace place = readingPlace();
    m_rows.setFont(font());
    returnTo(place);
}

void TranscriptArea::paintEvent(QPaintEvent* event)
{
    QPainter painter(viewport());
    const QRect clip = event->rect();
    if (count() == 0)
        return;
    for (int index = m_rows.indexAt(clip.top() + scrolledBy()); index < count(); ++index) {
        if (m_rows.rowRect(index).top() - scrolledBy() > clip.bottom())
            return;
        paintRow(painter, m_rows, index, scrolledBy(), clip, palette(), {selectionIn(index), showsFocus(index)});
    }
}

void TranscriptArea::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    if (!m_place)
        m_place = readingPlace();
    m_rows.setWidth(viewport()->width());
    returnTo(*m_place);
}

void TranscriptArea::scrollContentsBy(int /*dx*/, int dy)
{
    if (m_isLayingOut)
        return;
    m_isAtEnd = scrolledBy() == verticalScrollBar()->maximum();
    m_place.reset();
    if (layOutVisibleRows() == 0)
        viewport()->scroll(0, dy);
    else
        viewport()->update();
}

void TranscriptArea::showEvent(QShowEvent* event)
{
    QAbstractScrollArea::showEvent(event);
    layOutVisibleRows();
}

int TranscriptArea::scrolledBy() const
{
    return verticalScrollBar()->value();
}

void TranscriptArea::reveal(int top, int bottom)
{
    adjustScrollBar();
    const int height = viewport()->height();
    if (top < scrolledBy() || bottom - top > height)
        verticalScrollBar()->setValue(top);
    else if (bottom > scrolledBy() + height)
        verticalScrollBar()->setValue(bottom - height);
}

TranscriptArea::ReadingPlace TranscriptArea::readingPlace()
{
    if (count() == 0)
        return {};
    const int index = m_rows.indexAt(scrolledBy());
    const QPoint origin = m_rows.textOrigin(index);
    if (scrolledBy() < origin.y())
        return placeOfRow(index);
    if (scrolledBy() >= origin.y() + bubble(index).height() && index + 1 < count())
        return placeOfRow(index + 1);
    const qsizetype position = m_rows.positionAt(index, {origin.x(), scrolledBy()});
    return {index, position, m_rows.caretRect(index, position).top() - scrolledBy()};
}

TranscriptArea::ReadingPlace TranscriptArea::placeOfRow(int index) const
{
    return {index, std::nullopt, m_rows.rowRect(index).top() - scrolledBy()};
}

void TranscriptArea::returnTo(const ReadingPlace& place)
{
    if (!m_isAtEnd && place.index < count()) {
        const int top =
            place.position ? m_rows.caretRect(place.index, *place.position).top() : m_rows.rowRect(place.index).top();
        const QScopedValueRollback layingOut(m_isLayingOut, true);
        adjustScrollBar();
        verticalScrollBar()->setValue(top - place.offset);
    }
    layOutVisibleRows();
    viewport()->update();
}

void TranscriptArea::adjustScrollBar()
{
    const QScopedValueRollback layingOut(m_isLayingOut, true);
    const int height = viewport()->height();
    verticalScrollBar()->setPageStep(height);
    verticalScrollBar()->setRange(0, std::max(0, m_rows.height() + roomBelow - height));
}

/// Lays out all rows that are visible, and adjusts the scroll bar to their heights. Returns by how much the visible
/// text has moved on the screen. It is 0 when the text stays where it was.
int TranscriptArea::layOutVisibleRows()
{
    const QScopedValueRollback layingOut(m_isLayingOut, true);
    QScrollBar* bar = verticalScrollBar();
    const int height = viewport()->height();
    int expected = scrolledBy();
    for (bool isDone = false; !isDone;) {
        adjustScrollBar();
        if (m_isAtEnd)
            bar->setValue(bar->maximum());
        const int top = scrolledBy();
        const int moved = m_rows.layOut(top, top + height);
        adjustScrollBar();
        bar->setValue(m_isAtEnd ? bar->maximum() : top + moved);
        expected += moved;
        isDone = scrolledBy() == top + moved;
    }
    if (m_rows.takeHasWidened())
        viewport()->update();
    m_rows.dropLayoutsOutside(scrolledBy() - height, scrolledBy() + 2 * height);
    return scrolledBy() - expected;
}
