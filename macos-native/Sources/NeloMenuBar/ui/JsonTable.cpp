#include "ui/JsonTable.h"

#include "ui/TextScale.h"

#include <QHeaderView>
#include <QHelpEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyleOptionFocusRect>
#include <QStyledItemDelegate>
#include <QTextDocument>
#include <QToolTip>

#include <algorithm>

namespace {

/// A cell tells its text in a tool tip while it is elided.
class CellDelegate final : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override
    {
        const bool isElided = index.isValid() && sizeHint(option, index).width() > option.rect.width();
        if (event->type() != QEvent::ToolTip || !isElided)
            return QStyledItemDelegate::helpEvent(event, view, option, index);
        // A tool tip guesses whether its text is markup.
        QToolTip::showText(event->globalPos(), Qt::convertFromPlainText(index.data().toString()), view);
        return true;
    }
};

bool haveSameMember(const Json& row, const Json& other, const char* key)
{
    const auto one = row.find(key);
    const auto two = other.find(key);
    if (one == row.end() || two == other.end())
        return one == row.end() && two == other.end();
    return *one == *two;
}

} // namespace

JsonTable::JsonTable(std::vector<JsonColumn> columns, std::vector<const char*> identity, QWidget* parent)
    : QTableView(parent), m_identity(std::move(identity)), m_model(new JsonRowModel(columns, this))
{
    setModel(m_model);
    setItemDelegate(new CellDelegate(this));
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setAlternatingRowColors(true);
    setShowGrid(false);
    setWordWrap(false);
    setTabKeyNavigation(false); // Tab leaves the table
    setHorizontalScrollMode(ScrollPerPixel);
    setVerticalScrollMode(ScrollPerPixel);

    constexpr int rowPadding = 8;
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + rowPadding);
    horizontalHeader()->setHighlightSections(false);
    for (int column = 0; column < m_model->columnCount(); ++column)
        setColumnWidth(column, scaledToFont(columns[static_cast<std::size_t>(column)].width));
}

std::optional<Json> JsonTable::selectedRow() const
{
    const int index = selectedIndex();
    return index < 0 ? std::nullopt : std::optional(rows()[static_cast<std::size_t>(index)]);
}

void JsonTable::setRows(std::vector<Json> rows)
{
    const std::optional<Json> selected = selectedRow();
    const int indexBefore = selectedIndex();
    const int column = std::max(0, currentIndex().column());
    const int x = horizontalScrollBar()->value();
    const int y = verticalScrollBar()->value();

    if (!m_model->setRows(std::move(rows)))
        return;
    const std::optional<int> index = selected ? indexOf(*selected, indexBefore) : std::nullopt;
    if (index)
        setCurrentIndex(m_model->index(*index, column));
    executeDelayedItemsLayout(); // the scroll bars learn how far they reach now
    horizontalScrollBar()->setValue(x);
    verticalScrollBar()->setValue(y);
}

/// Without a row, nothing in the table shows that it has the keyboard.
void JsonTable::paintEvent(QPaintEvent* event)
{
    QTableView::paintEvent(event);
    if (!hasFocus() || currentIndex().isValid())
        return;
    QStyleOptionFocusRect option;
    option.initFrom(this);
    option.rect = viewport()->rect();
    QPainter painter(viewport());
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
}

int JsonTable::selectedIndex() const
{
    const QModelIndexList selected = selectionModel()->selectedRows();
    return selected.isEmpty() ? -1 : selected.first().row();
}

bool JsonTable::isSameRow(const Json& row, const Json& other) const
{
    return std::all_of(m_identity.begin(), m_identity.end(),
                       [&](const char* key) { return haveSameMember(row, other, key); });
}

/// Where the row that was at `likelyIndex` is now. Rows that share an identity stay where they were as long as they
/// can.
std::optional<int> JsonTable::indexOf(const Json& row, int likelyIndex) const
{
    const auto isWanted = [&](const Json& candidate) { return isSameRow(row, candidate); };
    if (likelyIndex < m_model->rowCount() && isWanted(rows()[static_cast<std::size_t>(likelyIndex)]))
        return likelyIndex;
    const auto found = std::find_if(rows().begin(), rows().end(), isWanted);
    return found == rows().end() ? std::nullopt : std::optional(static_cast<int>(found - rows().begin()));
}
