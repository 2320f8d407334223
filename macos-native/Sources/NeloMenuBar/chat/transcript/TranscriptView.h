#pragma once

#include "chat/transcript/BubbleSelection.h"
#include "chat/transcript/TranscriptArea.h"
#include "ui/Announcer.h"

#include <QBasicTimer>

/// The conversation as bubbles, the newest last. One of them is current: the keys Up and Down go to the next bubble.
/// Its text can be selected and copied with the keyboard and with the mouse: by dragging, a word by a double click, a
/// paragraph by a triple click. A click does not take the keyboard focus. The selection stays until another one begins,
/// also while it is not visible or the view has not the focus.
///
/// For assistive technology it is a list of bubbles. The name of a bubble is its text, the description its speaker.
/// What Nelo says while the view is visible is announced.
class TranscriptView final : public TranscriptArea
{
    Q_OBJECT

public:
    explicit TranscriptView(QWidget* parent = nullptr);

    /// Returns the index of the current bubble, or -1 when there is none.
    int currentBubble() const { return m_current; }
    QString selectedText() const;

    void clear() override;
    void append(Speaker speaker, const QString& text) override;
    /// Makes a bubble current and scrolls to it.
    void setCurrentBubble(int index);
    /// Copies the selected text to the clipboard, or the whole current bubble when nothing is selected.
    void copy() const;

signals:
    /// A mouse button was pressed on the view.
    void pressed();

protected:
    TextRange selectionIn(int index) const override;
    bool showsFocus(int index) const override;

    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    QStringView currentText() const;
    void makeCurrent(int index);
    void clearSelection();
    void beginSelection(int index, QPoint point, BubbleSelection::Unit unit);
    void extendSelectionTo(QPoint point);
    bool selectByKey(const QKeyEvent& event);
    std::optional<qsizetype> cursorAfter(const QKeyEvent& event);
    qsizetype onNextLine(qsizetype position, int lines);

    Announcer m_announcer{*this};
    BubbleSelection m_selection; // in the current bubble
    int m_current = -1;
    bool m_isSelecting = false; // the left button was pressed on the current bubble
    QPoint m_pointer;           // the last place of the pointer while selecting
    QBasicTimer m_autoScroll;   // runs while the pointer is above or below the view
    QPoint m_doubleClickPoint;
    QBasicTimer m_tripleClick; // runs while another click makes a triple click
};
