#pragma once

#include "chat/transcript/TranscriptLayout.h"

#include <QAbstractScrollArea>

#include <optional>

/// Shows the bubbles of a transcript and scrolls them. Only visible bubbles are laid out. The heights of the others are
/// estimates.
class TranscriptArea : public QAbstractScrollArea
{
    Q_OBJECT

public:
    explicit TranscriptArea(QWidget* parent = nullptr);

    int count() const { return m_rows.count(); }
    const Bubble& bubble(int index) const { return m_rows.bubble(index); }
    /// Returns the place of a bubble in the coordinates of the viewport. It may be outside of the viewport.
    QRect bubbleRect(int index) const;
    /// Returns the index of the bubble at `point` of the viewport, or -1 when there is none.
    int bubbleAt(QPoint point) const;

    /// Returns the position in the text of bubble `index` that is nearest to `point` of the viewport.
    qsizetype positionAt(int index, QPoint point);
    /// Returns the place of a caret at `position` of that text, in the coordinates of the viewport.
    QRect caretRect(int index, qsizetype position);

    virtual void clear();
    /// Adds a bubble below the others and scrolls to it.
    virtual void append(Speaker speaker, const QString& text);

protected:
    /// Returns the text that is selected in a bubble.
    virtual TextRange selectionIn(int index) const = 0;
    /// Returns whether a bubble shows that it has the keyboard focus.
    virtual bool showsFocus(int index) const = 0;

    TextRange lineAt(int index, qsizetype position);
    /// Scrolls until the place of a caret at `position` is visible.
    void revealCaret(int index, qsizetype position);
    /// Scrolls as little as possible to show the bubble, or the beginning of one that is higher than the view.
    void revealBubble(int index);
    /// Repaints a bubble.
    void updateBubble(int index);

    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void showEvent(QShowEvent* event) override;

private:
    /// The place at the top of the view: the line that contains `position` of a bubble, or the speaker's name above the
    /// bubble when there is no position. It is `offset` below the top.
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
    std::optional<ReadingPlace> m_place; // stays the same during a series of resizes, so that the text does not drift
    bool m_isAtEnd = true;
    bool m_isLayingOut = false;
};
