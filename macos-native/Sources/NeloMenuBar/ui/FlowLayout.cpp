#include "ui/FlowLayout.h"

#include <QStyle>
#include <QWidget>

#include <algorithm>
#include <numeric>

namespace {

int heightOf(const std::vector<QLayoutItem*>& line)
{
    return std::accumulate(line.begin(), line.end(), 0, [](int height, const QLayoutItem* item) {
        return std::max(height, item->sizeHint().height());
    });
}

int sumOfWidths(const std::vector<QLayoutItem*>& line, QSize (QLayoutItem::*size)() const)
{
    return std::accumulate(line.begin(), line.end(), 0,
                           [size](int sum, const QLayoutItem* item) { return sum + (item->*size)().width(); });
}

} // namespace

FlowLayout::~FlowLayout()
{
    while (!m_items.empty()) {
        const std::unique_ptr<QLayoutItem> item = std::move(m_items.back());
        m_items.pop_back(); // before it is destroyed: the destructor of a layout removes it from its parent
    }
}

void FlowLayout::addLayout(QLayout* layout)
{
    addChildLayout(layout);
    addItem(layout);
}

void FlowLayout::addItem(QLayoutItem* item)
{
    m_items.emplace_back(item);
}

QLayoutItem* FlowLayout::itemAt(int index) const
{
    return index < 0 || index >= count() ? nullptr : m_items[static_cast<std::size_t>(index)].get();
}

QLayoutItem* FlowLayout::takeAt(int index)
{
    if (!itemAt(index))
        return nullptr;
    const auto taken = m_items.begin() + index;
    QLayoutItem* item = taken->release();
    m_items.erase(taken);
    return item;
}

int FlowLayout::heightForWidth(int width) const
{
    const std::vector<Line> lines = linesWithin(width);
    const int spacings = spacing() * std::max(0, static_cast<int>(lines.size()) - 1);
    return std::accumulate(lines.begin(), lines.end(), spacings,
                           [](int sum, const Line& line) { return sum + heightOf(line); });
}

QSize FlowLayout::sizeHint() const
{
    Line all;
    for (const auto& item : m_items)
        all.push_back(item.get());
    return {sumOfWidths(all, &QLayoutItem::sizeHint) + spacingsOf(all), heightOf(all)};
}

QSize FlowLayout::minimumSize() const
{
    QSize size;
    for (const auto& item : m_items)
        size = size.expandedTo(item->minimumSize());
    return size;
}

void FlowLayout::setGeometry(const QRect& rect)
{
    QLayout::setGeometry(rect);
    int top = rect.top();
    for (const Line& line : linesWithin(rect.width())) {
        const int height = heightOf(line);
        placeLine(line, {rect.left(), top, rect.width(), height});
        top += height + spacing();
    }
}

std::vector<FlowLayout::Line> FlowLayout::linesWithin(int width) const
{
    std::vector<Line> lines;
    int used = 0;
    for (const auto& item : m_items) {
        const int needed = item->minimumSize().width();
        if (lines.empty() || used + spacing() + needed > width) {
            lines.emplace_back();
            used = needed;
        } else {
            used += spacing() + needed;
        }
        lines.back().push_back(item.get());
    }
    return lines;
}

/// Gives every item of `line` its preferred width. When the line is too narrow for this, the items shrink in proportion
/// to how much each of them can.
void FlowLayout::placeLine(const Line& line, const QRect& rect) const
{
    const int asked = sumOfWidths(line, &QLayoutItem::sizeHint);
    const int slack = asked - sumOfWidths(line, &QLayoutItem::minimumSize);
    const int missing = std::clamp(asked + spacingsOf(line) - rect.width(), 0, std::max(0, slack));
    int left = rect.left();
    int yieldedSlack = 0;
    int yielded = 0;
    for (QLayoutItem* item : line) {
        const int hint = item->sizeHint().width();
        yieldedSlack += hint - item->minimumSize().width();
        const int yieldedNow = slack > 0 ? missing * yieldedSlack / slack - yielded : 0;
        yielded += yieldedNow;
        const QRect place(left, rect.top(), hint - yieldedNow, rect.height());
        item->setGeometry(QStyle::visualRect(parentWidget()->layoutDirection(), rect, place));
        left += place.width() + spacing();
    }
}

int FlowLayout::spacingsOf(const Line& line) const
{
    return spacing() * std::max(0, static_cast<int>(line.size()) - 1);
}
