#pragma once

#include "ui/TextRanges.h"

#include <QFont>
#include <QRectF>

#include <memory>
#include <vector>

class QPainter;
class QTextCharFormat;
class QTextLayout;

/// A chunk of a message, broken into lines. Each paragraph has the direction of its own script. Lines break between
/// words; a word that is longer than a line breaks anywhere.
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
    /// Returns the width of the widest line, rounded up.
    int naturalWidth() const { return m_naturalWidth; }

    /// Returns the position between two letters that is nearest to `point`.
    qsizetype positionAt(QPointF point) const;
    /// Returns the line that contains `position`.
    TextRange lineAt(qsizetype position) const;
    /// Returns the place of a caret at `position`. It has no width, and the height of its line.
    QRectF caretRect(qsizetype position) const;

    /// Draws the lines that touch `clip` in the painter's pen, and the text of `selection` in `selectedFormat`.
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
