#pragma once

#include "chat/transcript/Bubble.h"
#include "chat/transcript/TextEstimate.h"

#include <QRect>

/// The places of the rows of a transcript, one below the other. A row is a speaker's name and a bubble.
///
/// The height of a row is an estimate until the row is laid out. Coordinates are device-independent pixels from the top
/// left corner of the first row.
class TranscriptLayout final
{
public:
    static constexpr int bubbleRadius = 20;

    explicit TranscriptLayout(const QFont& font);

    int count() const { return static_cast<int>(m_rows.size()); }
    const Bubble& bubble(int index) const { return m_rows[static_cast<std::size_t>(index)].bubble; }
    int width() const { return m_width; }
    int height() const;
    const QFont& speakerFont() const { return m_speakerFont; }

    /// Returns the index of the row at height `y`, or of the nearest one. There must be at least one row.
    int indexAt(int y) const;
    QRect rowRect(int index) const;
    QRect speakerRect(int index) const;
    QRect bubbleRect(int index) const;
    /// Returns the top left corner of a bubble's text. For right-aligned text it is the left end of the widest possible
    /// line.
    QPoint textOrigin(int index) const;

    void setFont(const QFont& font);
    /// Makes the rows as wide as `width`, and the bubbles at most 620 wide, more with a larger desktop font.
    void setWidth(int width);
    void clear();
    void append(Speaker speaker, const QString& text);

    /// Lays out the text between `top` and `bottom`. Text that begins above `top` may change its height. Returns by how
    /// much this has moved down the rows between `top` and `bottom`.
    int layOut(int top, int bottom);
    /// Returns whether, since the last call of this function, `layOut()` has widened a bubble that was laid out in
    /// part.
    bool takeHasWidened();
    /// Drops the layouts of the text that is not between `top` and `bottom`.
    void dropLayoutsOutside(int top, int bottom);

    /// These three lay out the chunk that they need. This may move the rows below it.
    qsizetype positionAt(int index, QPoint point);
    TextRange lineAt(int index, qsizetype position);
    QRect caretRect(int index, qsizetype position);

private:
    struct Row
    {
        Bubble bubble;
        int top = 0;
        bool hasLayouts = false;
    };

    int textWidth() const;
    int textTop() const;
    int rowHeight(const Row& row) const;
    int layOutOnce(int top, int bottom);
    void format(Row& row) const;
    void placeRowsFrom(std::size_t index);

    std::vector<Row> m_rows;
    QFont m_textFont;
    QFont m_speakerFont;
    TextEstimate m_estimate;
    int m_speakerHeight = 0;
    int m_width = 400;
    bool m_hasWidened = false;
};
