#pragma once

#include "chat/transcript/TranscriptLayout.h"

#include <QAbstractScrollArea>

#include <optional>

/// Shows a transcript's bubbles and scrolls them. Only bubbles in sight are laid out; the heights of the others are
/// estimates.
class TranscriptArea : public QAbstractScrollArea
{
    Q_OBJECT

public:
    explicit TranscriptArea(QWidget* parent = nullptr);

    int count() const { return m_rows.count(); }
    const Bubble& bubble(int index) const { return m_rows.bubble(index); }
    /// Where a bubble is in the viewport or beyond it.
    QRect bubbleRect(int index) const;
    /// The bubble at `point` of the viewport, or -1.
    int bubbleAt(QPoint point) const;

    /// The position in the text of bubble `index` next to `point` of the viewport.
    qsizetype positionAt(int index, QPoint point);
    /// Where a caret at `position` of that text would stand in the viewport or beyond it.
    QRect caretRect(int index, qsizetype position);

    virtual void clear();
    /// Adds a bubble below the others and scrolls to it.
    virtual void append(Speaker speaker, const QString& text);

protected:
    /// What is selected in a bubble, and whether it shows that it has the keyboard.
    virtual TextRange selectionIn(int index) const = 0;
    virtual bool showsFocus(int index) const = 0;

    TextRange lineAt(int index, qsizetype position);
    /// Scrolls until the place is in sight where a caret would stand.
    void revealCaret(int index, qsizetype position);
    /// Scrolls as little as shows the bubble, or its beginning if it is higher than the view.
    void revealBubble(int index);
    /// Repaints a bubble.
    void updateBubble(int index);

    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void showEvent(QShowEvent* event) override;

private:
    /// What the reader has at the top: the line that holds `position` of a bubble, or that bubble's name if there is no
    /// position, `offset` below the top of the view.
    struct ReadingPlace
    {
        int index = 0;
        std::optional<qsizetype> position;
        int offset = 0;
    };

    int scrolledBy() const;
    void reveal(int top, int bottom);
    ReadingPlace readingPlace();
    ReadingPlace placeOfRow(int index) const;
    void returnTo(const ReadingPlace& place);
    void adjustScrollBar();
    int layOutVisibleRows();

    TranscriptLayout m_rows;
    std::optional<ReadingPlace> m_place; // kept over a series of resizes, so that they do not add up to a drift
    bool m_isAtEnd = true;
    bool m_isLayingOut = false;
};
