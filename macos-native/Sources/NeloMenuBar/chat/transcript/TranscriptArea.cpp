#include "chat/transcript/TranscriptArea.h"

#include "chat/transcript/BubblePainter.h"

#include <QPaintEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>

#include <algorithm>

namespace {

constexpr int roomBelow = 120; // between the newest bubble and the end of the document

} // namespace

TranscriptArea::TranscriptArea(QWidget* parent) : QAbstractScrollArea(parent), m_rows(font())
{
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    verticalScrollBar()->setSingleStep(20);
    viewport()->setBackgroundRole(QPalette::Window); // opaque, so that scrolling moves pixels instead of painting
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
    m_isAtEnd = true;
    m_place.reset();
    settle();
    viewport()->update();
}

void TranscriptArea::append(Speaker speaker, const QString& text)
{
    m_rows.append(speaker, text);
    m_isAtEnd = true;
    m_place.reset();
    if (!isVisible())
        return; // nothing is laid out before it can be seen
    const int before = scrolledBy();
    settle();
    viewport()->scroll(0, before - scrolledBy());
    viewport()->update(viewport()->rect().adjusted(0, m_rows.rowRect(count() - 1).top() - scrolledBy(), 0, 0));
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
    if (m_isSettling)
        return;
    m_isAtEnd = scrolledBy() == verticalScrollBar()->maximum();
    m_place.reset();
    if (settle() == 0)
        viewport()->scroll(0, dy);
    else
        viewport()->update();
}

void TranscriptArea::showEvent(QShowEvent* event)
{
    QAbstractScrollArea::showEvent(event);
    settle();
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
        const QScopedValueRollback settling(m_isSettling, true);
        adjustScrollBar();
        verticalScrollBar()->setValue(top - place.offset);
    }
    settle();
    viewport()->update();
}

void TranscriptArea::adjustScrollBar()
{
    const QScopedValueRollback settling(m_isSettling, true);
    const int height = viewport()->height();
    verticalScrollBar()->setPageStep(height);
    verticalScrollBar()->setRange(0, std::max(0, m_rows.height() + roomBelow - height));
}

/// Lays out what is in sight until all of it is, and brings the scroll bar in line with the heights that came out.
/// Returns how far what was in sight has moved on the screen, which it should not.
int TranscriptArea::settle()
{
    const QScopedValueRollback settling(m_isSettling, true);
    QScrollBar* bar = verticalScrollBar();
    const int height = viewport()->height();
    int expected = scrolledBy();
    for (bool isSettled = false; !isSettled;) {
        adjustScrollBar();
        if (m_isAtEnd)
            bar->setValue(bar->maximum());
        const int top = scrolledBy();
        const int moved = m_rows.layOut(top, top + height);
        adjustScrollBar();
        bar->setValue(m_isAtEnd ? bar->maximum() : top + moved);
        expected += moved;
        isSettled = scrolledBy() == top + moved;
    }
    if (m_rows.takeHasWidened())
        viewport()->update();
    m_rows.dropLayoutsOutside(scrolledBy() - height, scrolledBy() + 2 * height);
    return scrolledBy() - expected;
}
