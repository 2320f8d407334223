#pragma once

#include "base/Json.h"

#include <QAbstractTableModel>

#include <functional>
#include <vector>

/// One column of a table of JSON rows.
struct JsonColumn
{
    /// The member of a row that the column shows.
    const char* key;
    QString title;
    /// The initial width in device-independent pixels, for text of ordinary size.
    int width;
    /// What a cell shows of its row. Without it, the text of the member, or nothing when the row has no such member.
    std::function<QString(const Json& row)> text = {};
};

/// The rows of a backend's reply as a table: each row is a JSON object, each column shows one thing of it.
///
/// A cell's text is one line. The rows themselves are kept as they came.
class JsonRowModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    explicit JsonRowModel(std::vector<JsonColumn> columns, QObject* parent = nullptr);

    const std::vector<Json>& rows() const { return m_rows; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    /// Shows `rows`, objects all of them, in their order. Returns whether they differ from those shown before; if they
    /// do not, nothing happens, so that no view has anything to paint.
    bool setRows(std::vector<Json> rows);

private:
    std::vector<JsonColumn> m_columns;
    std::vector<Json> m_rows;
};
