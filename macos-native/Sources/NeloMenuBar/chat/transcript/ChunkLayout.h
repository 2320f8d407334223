#pragma once

#include "ui/TextRanges.h"

#include <QFont>
#include <QRectF>

#include <memory>
#include <vector>

class QPainter;
class QTextCharFormat;
class QTextLayout;

/// A chunk of a message broken into lines: each paragraph in the direction of its own script, at words, and anywhere
/// where a word is longer than a line.
///
/// Positions count from the start of the chunk, points from its top left corner.
class ChunkLayout final
{
public:
    ChunkLayout(QStringView text, const QFont& font, Qt::Alignment alignment, int width);
    ChunkLayout(const ChunkLayout&) = delete;
    ChunkLayout& operator=(const ChunkLayout&) = delete;
    ~ChunkLayout();

    int height() const { return m_height; }
    /// How wide the widest line is, rounded up.
    int naturalWidth() const { return m_naturalWidth; }

    /// The position between two letters that is next to `point`.
    qsizetype positionAt(QPointF point) const;
    /// The line that holds `position`.
    TextRange lineAt(qsizetype position) const;
    /// Where a caret at `position` would stand: without width, as high as its line.
    QRectF caretRect(qsizetype position) const;

    /// Draws the lines that touch `clip` in the painter's pen, and `selection` in `selectedFormat`.
    void draw(QPainter& painter, QPointF origin, const QRectF& clip, TextRange selection,
              const QTextCharFormat& selectedFormat) const;

private:
    struct Paragraph
    {
        TextRange range;
        double top = 0;
        double bottom = 0;
        std::unique_ptr<QTextLayout> layout;
    };

    const Paragraph& paragraphHolding(qsizetype position) const;

    std::vector<Paragraph> m_paragraphs;
    int m_height = 0;
    int m_naturalWidth = 0;
};
