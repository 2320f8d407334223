#include "chat/transcript/TranscriptView.h"

#include "chat/transcript/TranscriptAccessible.h"
#include "ui/TextRanges.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <QScrollBar>
#include <QStyleHints>

#include <algorithm>
#include <array>
#include <utility>

namespace {

bool isNear(QPoint a, QPoint b)
{
    return (a - b).manhattanLength() < QGuiApplication::styleHints()->startDragDistance();
}

} // namespace

TranscriptView::TranscriptView(QWidget* parent) : TranscriptArea(parent)
{
    TranscriptAccessible::install();
    setAccessibleName(QStringLiteral("Conversation"));
    setFocusPolicy(Qt::TabFocus);       // after a click the input field keeps the keyboard focus
    viewport()->setMouseTracking(true); // for the shape of the pointer
}

QString TranscriptView::selectedText() const
{
    const TextRange range = m_selection.range();
    return currentText().sliced(range.start, range.length).toString();
}

void TranscriptView::clear()
{
    m_selection.clear();
    m_current = -1;
    m_isSelecting = false;
    m_autoScroll.stop();
    TranscriptArea::clear();
}

void TranscriptView::append(Speaker speaker, const QString& text)
{
    TranscriptArea::append(speaker, text);
    TranscriptAccessible::announceNewest(this);
    if (speaker == Speaker::Nelo)
        m_announcer.announce(text);
}

void TranscriptView::setCurrentBubble(int index)
{
    if (index < 0 || index >= count())
        return;
    makeCurrent(index);
    revealBubble(index);
}

void TranscriptView::copy() const
{
    if (m_current < 0)
        return;
    QGuiApplication::clipboard()->setText(m_selection.isEmpty() ? currentText().toString() : selectedText());
}

TextRange TranscriptView::selectionIn(int index) const
{
    return index == m_current ? m_selection.range() : TextRange();
}

bool TranscriptView::showsFocus(int index) const
{
    return index == m_current && hasFocus();
}

void TranscriptView::contextMenuEvent(QContextMenuEvent* event)
{
    const bool isByKey = event->reason() == QContextMenuEvent::Keyboard;
    const int index = isByKey ? m_current : bubbleAt(event->pos());
    if (index < 0)
        return;
    makeCurrent(index);
    QMenu menu(this);
    menu.addAction(QStringLiteral("Copy"), this, &TranscriptView::copy);
    menu.exec(isByKey ? viewport()->mapToGlobal(bubbleRect(index).intersected(viewport()->rect()).center())
                      : event->globalPos());
}

void TranscriptView::focusInEvent(QFocusEvent* event)
{
    TranscriptArea::focusInEvent(event);
    if (m_current < 0)
        setCurrentBubble(count() - 1);
    viewport()->update();
    TranscriptAccessible::announceFocus(this);
}

void TranscriptView::focusOutEvent(QFocusEvent* event)
{
    TranscriptArea::focusOutEvent(event);
    viewport()->update();
}

void TranscriptView::keyPressEvent(QKeyEvent* event)
{
    if (m_current >= 0 && selectByKey(*event))
        return;
    if (event->matches(QKeySequence::Copy))
        copy();
    else if (event->matches(QKeySequence::MoveToPreviousLine))
        setCurrentBubble(std::max(0, m_current - 1));
    else if (event->matches(QKeySequence::MoveToNextLine))
        setCurrentBubble(std::min(count(), m_current + 1));
    else if (event->matches(QKeySequence::MoveToStartOfDocument) || event->key() == Qt::Key_Home)
        setCurrentBubble(0);
    else if (event->matches(QKeySequence::MoveToEndOfDocument) || event->key() == Qt::Key_End)
        setCurrentBubble(count() - 1);
    else
        TranscriptArea::keyPressEvent(event);
}

void TranscriptView::mousePressEvent(QMouseEvent* event)
{
    emit pressed();
    if (event->button() != Qt::LeftButton)
        return;
    const QPoint point = event->position().toPoint();
    const int index = bubbleAt(point);
    const bool extends = event->modifiers().testFlag(Qt::ShiftModifier) && index == m_current;
    const bool isTriple = m_tripleClick.isActive() && isNear(point, m_doubleClickPoint);
    m_tripleClick.stop();
    m_isSelecting = index >= 0;
    if (!m_isSelecting)
        clearSelection();
    else if (extends)
        extendSelectionTo(point);
    else
        beginSelection(index, point, isTriple ? BubbleSelection::Unit::Paragraph : BubbleSelection::Unit::Letter);
}

void TranscriptView::mouseDoubleClickEvent(QMouseEvent* event)
{
    const QPoint point = event->position().toPoint();
    const int index = bubbleAt(point);
    if (event->button() != Qt::LeftButton || index < 0)
        return;
    m_isSelecting = true;
    beginSelection(index, point, BubbleSelection::Unit::Word);
    m_doubleClickPoint = point;
    m_tripleClick.start(QGuiApplication::styleHints()->mouseDoubleClickInterval(), this);
}

void TranscriptView::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint point = event->position().toPoint();
    if (!m_isSelecting) {
        viewport()->setCursor(bubbleAt(point) < 0 ? Qt::ArrowCursor : Qt::IBeamCursor);
        return;
    }
    m_pointer = point;
    extendSelectionTo(point);
    const bool isOutside = point.y() < 0 || point.y() >= viewport()->height();
    if (!isOutside)
        m_autoScroll.stop();
    else if (!m_autoScroll.isActive())
        m_autoScroll.start(50, this);
}

void TranscriptView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !std::exchange(m_isSelecting, false))
        return;
    m_autoScroll.stop();
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (clipboard->supportsSelection() && !m_selection.isEmpty())
        clipboard->setText(selectedText(), QClipboard::Selection); // the middle button pastes it
}

void TranscriptView::timerEvent(QTimerEvent* event)
{
    if (event->timerId() == m_tripleClick.timerId())
        m_tripleClick.stop();
    if (event->timerId() != m_autoScroll.timerId()) {
        TranscriptArea::timerEvent(event);
        return;
    }
    const int beyond = m_pointer.y() < 0 ? m_pointer.y() : m_pointer.y() - viewport()->height();
    verticalScrollBar()->setValue(verticalScrollBar()->value()
                                  + beyond); // it scrolls faster when the pointer is further away
    extendSelectionTo(m_pointer);
}

QStringView TranscriptView::currentText() const
{
    return m_current < 0 ? QStringView() : QStringView(bubble(m_current).text());
}

void TranscriptView::makeCurrent(int index)
{
    if (index == m_current)
        return;
    m_selection.clear();
    m_current = index;
    viewport()->update();
    TranscriptAccessible::announceFocus(this);
}

void TranscriptView::clearSelection()
{
    m_selection.clear();
    viewport()->update();
}

void TranscriptView::beginSelection(int index, QPoint point, BubbleSelection::Unit unit)
{
    makeCurrent(index);
    m_selection.begin(currentText(), positionAt(index, point), unit);
    updateBubble(index);
}

void TranscriptView::extendSelectionTo(QPoint point)
{
    const QRect visible = viewport()->rect();
    const QPoint inSight(point.x(), std::clamp(point.y(), visible.top(), visible.bottom()));
    m_selection.extendTo(currentText(), positionAt(m_current, inSight));
    updateBubble(m_current);
}

bool TranscriptView::selectByKey(const QKeyEvent& event)
{
    if (event.matches(QKeySequence::SelectAll)) {
        m_selection.selectAll(currentText());
        updateBubble(m_current);
        return true;
    }
    const std::optional<qsizetype> position = cursorAfter(event);
    if (!position)
        return false;
    m_selection.moveTo(currentText(), *position);
    revealCaret(m_current, *position);
    viewport()->update();
    return true;
}

std::optional<qsizetype> TranscriptView::cursorAfter(const QKeyEvent& event)
{
    const qsizetype cursor = m_selection.cursor();
    constexpr std::array steps{std::pair(QKeySequence::SelectNextChar, TextStep::NextCharacter),
                               std::pair(QKeySequence::SelectPreviousChar, TextStep::PreviousCharacter),
                               std::pair(QKeySequence::SelectNextWord, TextStep::NextWord),
                               std::pair(QKeySequence::SelectPreviousWord, TextStep::PreviousWord)};
    for (const auto& [key, step] : steps) {
        if (event.matches(key))
            return stepFrom(currentText(), cursor, step);
    }
    if (event.matches(QKeySequence::SelectNextLine))
        return onNextLine(cursor, 1);
    if (event.matches(QKeySequence::SelectPreviousLine))
        return onNextLine(cursor, -1);
    if (event.matches(QKeySequence::SelectStartOfLine))
        return lineAt(m_current, cursor).start;
    if (event.matches(QKeySequence::SelectEndOfLine))
        return lineAt(m_current, cursor).end();
    if (event.matches(QKeySequence::SelectStartOfDocument))
        return 0;
    if (event.matches(QKeySequence::SelectEndOfDocument))
        return currentText().size();
    return std::nullopt;
}

/// Returns the position that is `lines` lines below `position`, or above it when `lines` is negative.
qsizetype TranscriptView::onNextLine(qsizetype position, int lines)
{
    const QRect caret = caretRect(m_current, position);
    return positionAt(m_current, caret.center() + QPoint(0, lines * caret.height()));
}
