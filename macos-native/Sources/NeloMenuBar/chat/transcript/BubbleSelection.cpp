#include "chat/transcript/BubbleSelection.h"

#include <algorithm>

namespace {

TextRange unitAt(QStringView text, qsizetype position, BubbleSelection::Unit unit)
{
    switch (unit) {
    case BubbleSelection::Unit::Letter:
        return {position, 0};
    case BubbleSelection::Unit::Word:
        return wordAt(text, position);
    case BubbleSelection::Unit::Paragraph:
        return paragraphAt(text, position);
    }
    Q_UNREACHABLE();
}

} // namespace

void BubbleSelection::begin(QStringView text, qsizetype position, Unit unit)
{
    m_unit = unit;
    m_first = m_range = unitAt(text, position, unit);
    m_cursor = m_range.end();
}

void BubbleSelection::extendTo(QStringView text, qsizetype position)
{
    const TextRange last = unitAt(text, position, m_unit);
    const qsizetype start = std::min(m_first.start, last.start);
    m_range = {start, std::max(m_first.end(), last.end()) - start};
    m_cursor = last.start < m_first.start ? last.start : m_range.end();
}

void BubbleSelection::moveTo(QStringView text, qsizetype position)
{
    const qsizetype fixed = m_cursor == m_range.start ? m_range.end() : m_range.start;
    begin(text, fixed, Unit::Letter);
    extendTo(text, position);
}

void BubbleSelection::selectAll(QStringView text)
{
    m_unit = Unit::Letter;
    m_first = {0, 0};
    m_range = {0, text.size()};
    m_cursor = text.size();
}

void BubbleSelection::clear()
{
    *this = {};
}
