#include "ui/JsonTable.h"

#include "ui/Labels.h"
#include "ui/SingleLine.h"
#include "ui/TextScale.h"

#include <QHeaderView>
#include <QHelpEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyleOptionFocusRect>
#include <QStyledItemDelegate>

namespace {

/// Draws a cell, and shows the text of an elided cell in a tool tip.
class CellDelegate final : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    /// Returns the text that is painted. Assistive technology reads the whole text.
    QString displayText(const QVariant& value, const QLocale& /*locale*/) const override
    {
        return singleLine(value.toString());
    }

    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override
    {
        const bool isElided = index.isValid() && sizeHint(option, index).width() > option.rect.width();
        if (event->type() != QEvent::ToolTip || !isElided)
            return QStyledItemDelegate::helpEvent(event, view, option, index);
        showToolTip(event->globalPos(), index.data().toString(), view);
        return true;
    }
};

} // namespace

JsonTable::JsonTable(std::vector<JsonColumn> columns, std::vector<std::string_view> identity, QWidget* parent)
    : QTableView(parent), m_model(new JsonRowModel(columns, std::move(identity), this))
{
    setModel(m_model);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, &JsonTable::announceSelection);
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
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + rowPadding);
    horizontalHeader()->setHighlightSections(false);
    for (int column = 0; column < m_model->columnCount(); ++column)
        setColumnWidth(column, scaledToFont(columns[static_cast<std::size_t>(column)].width));
}

std::optional<Json> JsonTable::selectedRow() const
{
    const QModelIndex index = selectedIndex();
    return index.isValid() ? std::optional(m_model->rows()[static_cast<std::size_t>(index.row())]) : std::nullopt;
}

void JsonTable::focusInEvent(QFocusEvent* event)
{
    // The base class makes the first row the current one, and the first arrow key would then go to the second row. It
    // does not do this when a click has given the focus.
    QFocusEvent byClick(QEvent::FocusIn, Qt::MouseFocusReason);
    QTableView::focusInEvent(currentIndex().isValid() ? event : &byClick);
}

void JsonTable::mousePressEvent(QMouseEvent* event)
{
    m_isMousePressed = true;
    QTableView::mousePressEvent(event);
}

void JsonTable::mouseReleaseEvent(QMouseEvent* event)
{
    QTableView::mouseReleaseEvent(event);
    m_isMousePressed = event->buttons() != Qt::NoButton;
    announceSelection();
}

void JsonTable::rowsAboutToBeRemoved(const QModelIndex& parent, int first, int last)
{
    // The base class would select the row beside the removed one, which the user has not chosen.
    if (currentIndex().row() >= first && currentIndex().row() <= last)
        selectionModel()->clear();
    QTableView::rowsAboutToBeRemoved(parent, first, last);
}

/// Draws a frame when the table has the keyboard focus and no current row, because no row shows the focus then.
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

QModelIndex JsonTable::selectedIndex() const
{
    const QModelIndexList selected = selectionModel()->selectedRows();
    return selected.isEmpty() ? QModelIndex() : selected.first();
}

void JsonTable::announceSelection()
{
    if (m_isMousePressed || m_announcedIndex == selectedIndex())
        return;
    m_announcedIndex = selectedIndex();
    emit selectionDidChange();
}
