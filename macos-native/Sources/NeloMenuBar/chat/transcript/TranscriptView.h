#pragma once

#include "chat/transcript/BubbleSelection.h"
#include "chat/transcript/TranscriptArea.h"

#include <QBasicTimer>

/// The conversation as bubbles, newest last. One of them is current: Up and Down go from bubble to bubble, and its text
/// can be selected and copied with the mouse (drag, double click for a word, triple click for a paragraph) and the
/// keyboard. The selection stays until another begins, also out of sight and without the keyboard, which a click does
/// not take.
///
/// To assistive technology it is a list of bubbles: the text is the name, the speaker the description.
class TranscriptView final : public TranscriptArea
{
    Q_OBJECT

public:
    explicit TranscriptView(QWidget* parent = nullptr);

    /// The bubble that the keyboard works on, or -1.
    int currentBubble() const { return m_current; }
    QString selectedText() const;

    void clear() override;
    void append(Speaker speaker, const QString& text) override;
    /// Makes a bubble current and scrolls to it.
    void setCurrentBubble(int index);
    /// Puts the selected text, or the whole of the current bubble if there is none, on the clipboard.
    void copy() const;

signals:
    /// Tells that the mouse was pressed on it.
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

    BubbleSelection m_selection; // in the current bubble
    int m_current = -1;
    bool m_isSelecting = false; // the left button went down on the current bubble
    QPoint m_pointer;           // where it was last seen while selecting
    QBasicTimer m_autoScroll;   // runs while it is above or below the view
    QPoint m_doubleClickPoint;
    QBasicTimer m_tripleClick; // runs as long as another click makes a double click a triple one
};
