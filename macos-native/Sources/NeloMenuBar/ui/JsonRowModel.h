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
    /// Returns the text of a cell for its row. When it is empty, the cell shows the text of the member, or nothing when
    /// the row has no such member.
    std::function<QString(const Json& row)> text = {};
};

/// The rows of a backend's reply as a table: each row is a JSON object, each column shows one thing of it.
///
/// A cell's text is one line and never cut. The rows themselves are kept as they came.
class JsonRowModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    /// The members called `identity` say which row is which: see `setRows`.
    explicit JsonRowModel(std::vector<JsonColumn> columns, std::vector<const char*> identity = {},
                          QObject* parent = nullptr);

    const std::vector<Json>& rows() const { return m_rows; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    /// Shows `rows`, objects all of them, in their order. A row that was there before stays the same row for views,
    /// wherever it is now: a selection stays on it, and a changed value is announced as such. It is the row that equals
    /// it, or else the one with the same identity.
    void setRows(std::vector<Json> rows);

private:
    bool isAnyRowElsewhere(const std::vector<Json>& rows) const;
    std::vector<int> earlierIndexes(const std::vector<Json>& rows) const;
    void removeRowsBut(const std::vector<int>& keptIndexes);
    void reorderRows(const std::vector<int>& earlierIndexes);
    void insertMissingRows(std::vector<Json>& rows, const std::vector<int>& earlierIndexes);
    void changeRows(std::vector<Json>& rows);

    std::vector<JsonColumn> m_columns;
    std::vector<const char*> m_identity;
    std::vector<Json> m_rows;
};
