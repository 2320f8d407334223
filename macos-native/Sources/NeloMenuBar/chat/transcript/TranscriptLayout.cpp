#include "chat/transcript/TranscriptLayout.h"

#include "ui/Labels.h"
#include "ui/TextScale.h"

#include <QFontMetrics>

#include <algorithm>
#include <utility>

namespace {

constexpr int minimumRowWidth = 400;
constexpr int horizontalInset = 18;
constexpr int verticalInset = 14;
constexpr int speakerSpacing = 6;
constexpr int rowSpacing = 12;

QFont fontOfTexts(const QFont& font)
{
    return fontOfSize(font, 18);
}

QFont fontOfSpeakers(const QFont& font)
{
    return fontOfSize(font, 12, QFont::DemiBold);
}

int maximumBubbleWidth()
{
    return scaledToFont(620);
}

} // namespace

TranscriptLayout::TranscriptLayout(const QFont& font)
    : m_textFont(fontOfTexts(font)), m_speakerFont(fontOfSpeakers(font)), m_estimate(m_textFont),
      m_speakerHeight(QFontMetrics(m_speakerFont).height())
{}

int TranscriptLayout::height() const
{
    return m_rows.empty() ? 0 : m_rows.back().top + rowHeight(m_rows.back());
}

int TranscriptLayout::indexAt(int y) const
{
    const auto below =
        std::upper_bound(m_rows.begin() + 1, m_rows.end(), y, [](int at, const Row& row) { return at < row.top; });
    return static_cast<int>(below - m_rows.begin()) - 1;
}

QRect TranscriptLayout::rowRect(int index) const
{
    const Row& row = m_rows[static_cast<std::size_t>(index)];
    return {0, row.top, m_width, rowHeight(row)};
}

QRect TranscriptLayout::speakerRect(int index) const
{
    const Row& row = m_rows[static_cast<std::size_t>(index)];
    const int width = QFontMetrics(m_speakerFont).horizontalAdvance(nameOf(row.bubble.speaker()));
    const int left = row.bubble.speaker() == Speaker::User ? m_width - width : 0;
    return {left, row.top, width, m_speakerHeight};
}

QRect TranscriptLayout::bubbleRect(int index) const
{
    const Row& row = m_rows[static_cast<std::size_t>(index)];
    const int width = row.bubble.width() + 2 * horizontalInset;
    const int left = row.bubble.speaker() == Speaker::User ? m_width - width : 0;
    return {left, row.top + textTop() - verticalInset, width, row.bubble.height() + 2 * verticalInset};
}

QPoint TranscriptLayout::textOrigin(int index) const
{
    const Row& row = m_rows[static_cast<std::size_t>(index)];
    const bool isUser = row.bubble.speaker() == Speaker::User;
    return {isUser ? m_width - horizontalInset - textWidth() : horizontalInset, row.top + textTop()};
}

void TranscriptLayout::setFont(const QFont& font)
{
    m_textFont = fontOfTexts(font);
    m_speakerFont = fontOfSpeakers(font);
    m_speakerHeight = QFontMetrics(m_speakerFont).height();
    m_estimate = TextEstimate(m_textFont);
    for (Row& row : m_rows)
        format(row);
    placeRowsFrom(0);
}

void TranscriptLayout::setWidth(int width)
{
    const int textWidthBefore = textWidth();
    m_width = std::max(width, minimumRowWidth);
    if (textWidth() == textWidthBefore)
        return;
    for (Row& row : m_rows)
        format(row);
    placeRowsFrom(0);
}

void TranscriptLayout::clear()
{
    m_rows.clear();
}

void TranscriptLayout::append(Speaker speaker, const QString& text)
{
    m_rows.push_back({Bubble(speaker, text)});
    format(m_rows.back());
    placeRowsFrom(m_rows.size() - 1);
}

int TranscriptLayout::layOut(int top, int bottom)
{
    int moved = 0;
    while (const int movedNow = layOutOnce(top + moved, bottom + moved))
        moved += movedNow; // rows that have shrunk have brought others between `top` and `bottom`
    return moved;
}

bool TranscriptLayout::takeHasWidened()
{
    return std::exchange(m_hasWidened, false);
}

void TranscriptLayout::dropLayoutsOutside(int top, int bottom)
{
    for (Row& row : m_rows) {
        if (row.hasLayouts)
            row.hasLayouts = row.bubble.dropLayoutsOutside(top - row.top - textTop(), bottom - row.top - textTop());
    }
}

qsizetype TranscriptLayout::positionAt(int index, QPoint point)
{
    Row& row = m_rows[static_cast<std::size_t>(index)];
    const qsizetype position = row.bubble.positionAt(point - textOrigin(index));
    row.hasLayouts = true;
    placeRowsFrom(static_cast<std::size_t>(index));
    return position;
}

TextRange TranscriptLayout::lineAt(int index, qsizetype position)
{
    Row& row = m_rows[static_cast<std::size_t>(index)];
    const TextRange line = row.bubble.lineAt(position);
    row.hasLayouts = true;
    placeRowsFrom(static_cast<std::size_t>(index));
    return line;
}

QRect TranscriptLayout::caretRect(int index, qsizetype position)
{
    Row& row = m_rows[static_cast<std::size_t>(index)];
    const QRectF caret = row.bubble.caretRect(position);
    row.hasLayouts = true;
    placeRowsFrom(static_cast<std::size_t>(index));
    return caret.translated(textOrigin(index)).toRect();
}

int TranscriptLayout::textWidth() const
{
    return std::min(m_width, maximumBubbleWidth()) - 2 * horizontalInset;
}

int TranscriptLayout::textTop() const
{
    return m_speakerHeight + speakerSpacing + verticalInset;
}

int TranscriptLayout::rowHeight(const Row& row) const
{
    return textTop() + row.bubble.height() + verticalInset;
}

int TranscriptLayout::layOutOnce(int top, int bottom)
{
    int moved = 0;
    if (m_rows.empty())
        return moved;
    const int first = indexAt(top);
    for (auto index = static_cast<std::size_t>(first); index < m_rows.size(); ++index) {
        Row& row = m_rows[index];
        if (index > 0)
            row.top = m_rows[index - 1].top + rowHeight(m_rows[index - 1]) + rowSpacing;
        if (row.top >= bottom + moved)
            break;
        const int textTopInRows = row.top + textTop();
        // When only the edge of a row is visible and not its text, the nearest line is laid out: the bubble's width
        // depends on it.
        const int from = std::min(top + moved - textTopInRows, row.bubble.height() - 1);
        const int widthBefore = row.bubble.width();
        moved += row.bubble.layOut(from, std::max(bottom + moved - textTopInRows, 1));
        m_hasWidened = m_hasWidened || (row.hasLayouts && row.bubble.width() > widthBefore);
        row.hasLayouts = true;
    }
    placeRowsFrom(static_cast<std::size_t>(first));
    return moved;
}

void TranscriptLayout::format(Row& row) const
{
    row.bubble.setFormat(m_textFont, textWidth(), m_estimate);
    row.hasLayouts = false;
}

void TranscriptLayout::placeRowsFrom(std::size_t index)
{
    for (; index < m_rows.size(); ++index) {
        const Row* above = index == 0 ? nullptr : &m_rows[index - 1];
        m_rows[index].top = above ? above->top + rowHeight(*above) + rowSpacing : 0;
    }
}
