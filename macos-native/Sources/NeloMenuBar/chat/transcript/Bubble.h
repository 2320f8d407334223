#pragma once

#include "chat/transcript/ChunkLayout.h"

#include <QString>

class TextEstimate;

/// The author of a message. The user's bubbles are blue and at the right, Nelo's are light and at the left.
enum class Speaker { User, Nelo };

/// Returns the name of `speaker`, which is shown above the bubble.
QString nameOf(Speaker speaker);

/// The text of one message, in chunks. The height of a chunk is an estimate until the chunk is laid out. Only chunks
/// that are visible are laid out, and only those near the visible part keep their layout. One layout of the whole text,
/// as in `QTextDocument`, would take half a second for a message of 1 MB at each new width.
///
/// Heights, points and rectangles count from the top left corner of the text, positions from its first letter.
class Bubble final
{
public:
    Bubble(Speaker speaker, QString text);
    Bubble(const Bubble&) = delete;
    Bubble& operator=(const Bubble&) = delete;
    Bubble(Bubble&&) = default;
    Bubble& operator=(Bubble&&) = default;
    ~Bubble() = default;

    Speaker speaker() const { return m_speaker; }
    const QString& text() const { return m_text; }
    int height() const;
    /// Returns the width of the widest line. Before a text of one chunk is laid out, this is the whole available width.
    /// The width of a text of many chunks grows when a chunk is laid out that has a wider line.
    int width() const { return m_naturalWidth; }

    /// Drops all layouts, and estimates the height for lines of `width` in `font`.
    void setFormat(const QFont& font, int width, const TextEstimate& estimate);
    /// Lays out the chunks between `top` and `bottom`. A chunk that begins above `top` may change its height. Returns
    /// by how much this has moved down the text between `top` and `bottom`.
    int layOut(int top, int bottom);
    /// Drops the layouts of the chunks that are not between `top` and `bottom`, and keeps their heights. Returns
    /// whether any layout is left.
    bool dropLayoutsOutside(int top, int bottom);

    /// These three lay out the chunk that they need, if it is not laid out.
    qsizetype positionAt(QPointF point);
    TextRange lineAt(qsizetype position);
    QRectF caretRect(qsizetype position);

    /// Draws the chunks that are laid out and touch `clip`. `origin` and `clip` are in the painter's coordinates.
    void draw(QPainter& painter, QPointF origin, const QRectF& clip, TextRange selection,
              const QTextCharFormat& selectedFormat) const;

private:
    struct Chunk
    {
        TextRange range;
        int height = 0; // an estimate until the chunk has been laid out
        std::unique_ptr<ChunkLayout> layout;
    };
    struct Place
    {
        ChunkLayout& layout;
        qsizetype start = 0;
        int top = 0;
    };

    Qt::Alignment alignment() const;
    QStringView lettersOf(const Chunk& chunk) const;
    ChunkLayout& layoutOf(Chunk& chunk);
    Place placeOf(qsizetype position);

    QString m_text;
    QFont m_font;
    std::vector<Chunk> m_chunks;
    Speaker m_speaker;
    int m_availableWidth = 0;
    int m_naturalWidth = 0;
};
