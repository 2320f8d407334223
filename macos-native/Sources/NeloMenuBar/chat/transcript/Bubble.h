#pragma once

#include "chat/transcript/ChunkLayout.h"

#include <QString>

class TextEstimate;

/// Who said it: the user, whose bubbles are blue and at the right, or Nelo, whose are light and at the left.
enum class Speaker { User, Nelo };

/// The name of `speaker` as it stands over the bubble.
QString nameOf(Speaker speaker);

/// The text of one message. It knows its height for a width, at first by estimate; only chunks that are seen are laid
/// out, and only those near the visible part keep their layout. One layout of the whole, as `QTextDocument` has it,
/// would take half a second for a message of 1 MB, at each new width again.
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
    /// How wide the text is: what its widest line takes. A text of one chunk takes all the room that it may until it
    /// was laid out; one of many chunks grows when a line of it turns out to be wider than all that are known.
    int width() const { return m_naturalWidth; }

    /// Forgets every layout and estimates the height for lines of `width` in `font`.
    void setFormat(const QFont& font, int width, const TextEstimate& estimate);
    /// Lays out the chunks that touch the stretch from `top` to `bottom`. What begins above it grows upwards: returns
    /// by how much everything that was in the stretch has moved down.
    int layOut(int top, int bottom);
    /// Drops the layouts of chunks that do not touch the stretch; their heights stay known. Returns whether any is
    /// left.
    bool dropLayoutsOutside(int top, int bottom);

    /// These lay out the chunk in question first, if need be.
    qsizetype positionAt(QPointF point);
    TextRange lineAt(qsizetype position);
    QRectF caretRect(qsizetype position);

    /// Draws what is laid out and touches `clip`, both in the painter's coordinates.
    void draw(QPainter& painter, QPointF origin, const QRectF& clip, TextRange selection,
              const QTextCharFormat& selectedFormat) const;

private:
    struct Chunk
    {
        TextRange range;
        int height = 0; // an estimate until it was laid out once
        std::unique_ptr<ChunkLayout> layout;
    };
    struct Place
    {
        ChunkLayout& layout;
        qsizetype start = 0;
        int top = 0;
    };

    Qt::Alignment alignment() const;
    QStringView textOf(const Chunk& chunk) const;
    ChunkLayout& layoutOf(Chunk& chunk);
    Place placeOf(qsizetype position);

    QString m_text;
    QFont m_font;
    std::vector<Chunk> m_chunks;
    Speaker m_speaker;
    int m_availableWidth = 0;
    int m_naturalWidth = 0;
};
