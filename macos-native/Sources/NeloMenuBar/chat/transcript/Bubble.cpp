#include "chat/transcript/Bubble.h"

#include "chat/transcript/TextEstimate.h"

#include <QTextCharFormat>

#include <algorithm>
#include <numeric>

QString nameOf(Speaker speaker)
{
    return speaker == Speaker::User ? QStringLiteral("Me") : QStringLiteral("Nelo");
}

Bubble::Bubble(Speaker speaker, QString text) : m_text(std::move(text)), m_speaker(speaker)
{
    const std::vector<TextRange> ranges = chunksOf(m_text);
    m_chunks.reserve(ranges.size());
    for (const TextRange& range : ranges)
        m_chunks.push_back({range, 0, nullptr});
}

int Bubble::height() const
{
    return std::accumulate(m_chunks.begin(), m_chunks.end(), 0,
                           [](int sum, const Chunk& chunk) { return sum + chunk.height; });
}

void Bubble::setFormat(const QFont& font, int width, const TextEstimate& estimate)
{
    m_font = font;
    m_availableWidth = width;
    m_naturalWidth = m_chunks.size() == 1 ? width : estimate.width(m_text, width);
    for (Chunk& chunk : m_chunks) {
        chunk.layout.reset();
        chunk.height = estimate.height(lettersOf(chunk), width);
    }
}

int Bubble::layOut(int top, int bottom)
{
    int moved = 0;
    int chunkTop = 0;
    for (Chunk& chunk : m_chunks) {
        if (chunkTop >= bottom + moved)
            break;
        const int before = chunk.height;
        const bool beginsAbove = chunkTop < top + moved;
        if (chunkTop + before > top + moved)
            layoutOf(chunk);
        if (beginsAbove)
            moved += chunk.height - before;
        chunkTop += chunk.height;
    }
    return moved;
}

bool Bubble::dropLayoutsOutside(int top, int bottom)
{
    bool isAnyLeft = false;
    int chunkTop = 0;
    for (Chunk& chunk : m_chunks) {
        if (chunkTop >= bottom || chunkTop + chunk.height <= top)
            chunk.layout.reset();
        isAnyLeft = isAnyLeft || chunk.layout;
        chunkTop += chunk.height;
    }
    return isAnyLeft;
}

qsizetype Bubble::positionAt(QPointF point)
{
    int top = 0;
    auto chunk = m_chunks.begin();
    for (; chunk + 1 != m_chunks.end() && point.y() >= top + chunk->height; ++chunk)
        top += chunk->height;
    return chunk->range.start + layoutOf(*chunk).positionAt(point - QPointF(0, top));
}

TextRange Bubble::lineAt(qsizetype position)
{
    const Place place = placeOf(position);
    const TextRange line = place.layout.lineAt(position - place.start);
    return {place.start + line.start, line.length};
}

QRectF Bubble::caretRect(qsizetype position)
{
    const Place place = placeOf(position);
    return place.layout.caretRect(position - place.start).translated(0, place.top);
}

void Bubble::draw(QPainter& painter, QPointF origin, const QRectF& clip, TextRange selection,
                  const QTextCharFormat& selectedFormat) const
{
    double y = origin.y();
    for (const Chunk& chunk : m_chunks) {
        if (chunk.layout && y < clip.bottom() && y + chunk.height > clip.top()) {
            chunk.layout->draw(painter, {origin.x(), y}, clip, {selection.start - chunk.range.start, selection.length},
                               selectedFormat);
        }
        y += chunk.height;
    }
}

Qt::Alignment Bubble::alignment() const
{
    return m_speaker == Speaker::User ? Qt::AlignRight : Qt::AlignLeft;
}

QStringView Bubble::lettersOf(const Chunk& chunk) const
{
    return QStringView(m_text).sliced(chunk.range.start, chunk.range.length);
}

ChunkLayout& Bubble::layoutOf(Chunk& chunk)
{
    if (!chunk.layout) {
        chunk.layout = std::make_unique<ChunkLayout>(lettersOf(chunk), m_font, alignment(), m_availableWidth);
        chunk.height = chunk.layout->height();
        const int width = chunk.layout->naturalWidth();
        m_naturalWidth = m_chunks.size() == 1 ? width : std::max(m_naturalWidth, width);
    }
    return *chunk.layout;
}

Bubble::Place Bubble::placeOf(qsizetype position)
{
    int top = 0;
    auto chunk = m_chunks.begin();
    for (; chunk + 1 != m_chunks.end() && position > chunk->range.end(); ++chunk)
        top += chunk->height;
    return {layoutOf(*chunk), chunk->range.start, top};
}
