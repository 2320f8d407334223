#include "chat/transcript/ChunkLayout.h"

#include <QPainter>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

ChunkLayout::ChunkLayout(QStringView text, const QFont& font, Qt::Alignment alignment, int width)
{
    QTextOption option(alignment);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    option.setTextDirection(Qt::LayoutDirectionAuto); // that of the text, not of the application
    double y = 0;
    double naturalWidth = 0;
    for (const TextRange& range : paragraphsOf(text)) {
        auto layout = std::make_unique<QTextLayout>(text.sliced(range.start, range.length).toString(), font);
        layout->setTextOption(option);
        layout->setCacheEnabled(true); // otherwise each drawing would shape all letters again
        layout->beginLayout();
        const double top = y;
        for (QTextLine line = layout->createLine(); line.isValid(); line = layout->createLine()) {
            line.setLineWidth(width);
            line.setPosition({0, y - top});
            y += line.height();
            naturalWidth = std::max(naturalWidth, line.naturalTextWidth());
        }
        layout->endLayout();
        m_paragraphs.push_back({range, top, y, std::move(layout)});
    }
    m_height = static_cast<int>(std::ceil(y));
    m_naturalWidth = std::min(width, static_cast<int>(std::ceil(naturalWidth)));
}

ChunkLayout::~ChunkLayout() = default;

qsizetype ChunkLayout::positionAt(QPointF point) const
{
    const auto below = std::find_if(m_paragraphs.begin(), m_paragraphs.end() - 1,
                                    [&point](const Paragraph& paragraph) { return point.y() < paragraph.bottom; });
    const QTextLayout& layout = *below->layout;
    int line = 0;
    while (line + 1 < layout.lineCount() && point.y() - below->top >= layout.lineAt(line).rect().bottom())
        ++line;
    return below->range.start + layout.lineAt(line).xToCursor(point.x());
}

TextRange ChunkLayout::lineAt(qsizetype position) const
{
    const Paragraph& paragraph = paragraphHolding(position);
    const QTextLine line = paragraph.layout->lineForTextPosition(static_cast<int>(position - paragraph.range.start));
    return {paragraph.range.start + line.textStart(), line.textLength()};
}

QRectF ChunkLayout::caretRect(qsizetype position) const
{
    const Paragraph& paragraph = paragraphHolding(position);
    const int offset = static_cast<int>(position - paragraph.range.start);
    const QTextLine line = paragraph.layout->lineForTextPosition(offset);
    return {line.cursorToX(offset), paragraph.top + line.y(), 0, line.height()};
}

void ChunkLayout::draw(QPainter& painter, QPointF origin, const QRectF& clip, TextRange selection,
                       const QTextCharFormat& selectedFormat) const
{
    for (const Paragraph& paragraph : m_paragraphs) {
        const QPointF corner = origin + QPointF(0, paragraph.top);
        if (corner.y() > clip.bottom() || origin.y() + paragraph.bottom < clip.top())
            continue;
        const qsizetype from = std::max(selection.start, paragraph.range.start);
        const qsizetype to = std::min(selection.end(), paragraph.range.end());
        QList<QTextLayout::FormatRange> selections;
        if (from < to) {
            selections.append(
                {static_cast<int>(from - paragraph.range.start), static_cast<int>(to - from), selectedFormat});
        }
        paragraph.layout->draw(&painter, corner, selections, clip);
    }
}

const ChunkLayout::Paragraph& ChunkLayout::paragraphHolding(qsizetype position) const
{
    return *std::find_if(m_paragraphs.begin(), m_paragraphs.end() - 1,
                         [position](const Paragraph& paragraph) { return position <= paragraph.range.end(); });
}
