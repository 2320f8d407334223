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
    /// Returns the text of a cell for its row. Without such a function the cell shows the text of the member, or
    /// nothing when the row has no such member.
    std::function<QString(const Json& row)> text = {};
};

/// The rows of a backend's reply as a table. Each row is a JSON object; a column shows one of its members.
///
/// The text of a cell is one line of any length. The rows themselves are kept unchanged.
class JsonRowModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    /// The members with the names `identity` identify a row: see `setRows`.
    explicit JsonRowModel(std::vector<JsonColumn> columns, std::vector<std::string_view> identity = {},
                          QObject* parent = nullptr);

    const std::vector<Json>& rows() const { return m_rows; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    /// Shows `rows`, which are JSON objects, in their order. A row that was shown before stays the same row for views,
    /// also at another place: it stays selected, and a changed value is announced. A row counts as shown before when an
    /// earlier row equals it or, if none does, has the same identity.
    void setRows(std::vector<Json> rows);

private:
    bool isKeptRowElsewhere(const std::vector<Json>& rows) const;
    std::size_t changeLeadingRows(std::vector<Json>& rows);
    std::vector<int> earlierIndexes(const std::vector<Json>& rows, std::size_t leading) const;
    void removeRowsBut(const std::vector<int>& keptIndexes);
    void reorderRows(const std::vector<int>& earlierIndexes);
    void insertMissingRows(std::vector<Json>& rows, const std::vector<int>& earlierIndexes);
    void changeKeptRows(std::vector<Json>& rows, const std::vector<int>& earlierIndexes, std::size_t leading);
    void announceChange(std::size_t first, std::size_t end);

    std::vector<JsonColumn> m_columns;
    std::vector<std::string_view> m_identity;
    std::vector<Json> m_rows;
};
