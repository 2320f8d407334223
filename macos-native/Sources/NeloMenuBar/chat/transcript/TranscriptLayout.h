#pragma once

#include "chat/transcript/Bubble.h"
#include "chat/transcript/TextEstimate.h"

#include <QRect>

/// Where the rows of a transcript are for a width: a speaker's name and a bubble each, one below the other.
///
/// Rows are at first as high as an estimate says and right once they were laid out. Coordinates are device-independent
/// pixels from the top left corner of the first row.
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

    /// The row at height `y`, or the one nearest to it; there must be one.
    int indexAt(int y) const;
    QRect rowRect(int index) const;
    QRect speakerRect(int index) const;
    QRect bubbleRect(int index) const;
    /// The top left corner of a bubble's text; right-aligned lines count from further left.
    QPoint textOrigin(int index) const;

    void setFont(const QFont& font);
    /// Rows are as wide as `width`, bubbles up to 620.
    void setWidth(int width);
    void clear();
    void append(Speaker speaker, const QString& text);

    /// Lays out what is between `top` and `bottom`. What begins above `top` grows upwards: returns by how much
    /// everything that was between the two has moved down.
    int layOut(int top, int bottom);
    /// Returns whether `layOut()` has widened a bubble that was laid out in part before, since this was asked last.
    bool takeHasWidened();
    /// Drops the layouts of what is not between `top` and `bottom`.
    void dropLayoutsOutside(int top, int bottom);

    /// These lay out what they need to know, which may move everything below.
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
