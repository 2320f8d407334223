#include "ui/JsonRowModel.h"

#include "ui/SingleLine.h"

#include <utility>

JsonRowModel::JsonRowModel(std::vector<JsonColumn> columns, QObject* parent)
    : QAbstractTableModel(parent), m_columns(std::move(columns))
{}

int JsonRowModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size()); // a table has no children
}

int JsonRowModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_columns.size());
}

QVariant JsonRowModel::data(const QModelIndex& index, int role) const
{
    if (role != Qt::DisplayRole || !index.isValid() || index.row() >= rowCount())
        return {};
    const Json& row = m_rows[static_cast<std::size_t>(index.row())];
    const JsonColumn& column = m_columns[static_cast<std::size_t>(index.column())];
    return singleLine(column.text ? column.text(row) : textOf(row, column.key));
}

QVariant JsonRowModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount())
        return {};
    if (role == Qt::TextAlignmentRole)
        return QVariant::fromValue(Qt::AlignLeft | Qt::AlignVCenter);
    return role == Qt::DisplayRole ? m_columns[static_cast<std::size_t>(section)].title : QVariant();
}

bool JsonRowModel::setRows(std::vector<Json> rows)
{
    if (rows == m_rows)
        return false;
    beginResetModel();
    m_rows = std::move(rows);
    endResetModel();
    return true;
}
