#pragma once

#include "ui/JsonRowModel.h"

#include <QTableView>

#include <optional>

/// A table of JSON rows: read-only, one row can be selected, columns start at their given widths and can be resized,
/// cells show one elided line of plain text and tell the rest in a tool tip.
class JsonTable final : public QTableView
{
    Q_OBJECT

public:
    /// `identity` are the members by which a row is known again after a refresh.
    JsonTable(std::vector<JsonColumn> columns, std::vector<const char*> identity, QWidget* parent = nullptr);

    /// A copy of the selected row: a refresh may take the row itself away at any time.
    std::optional<Json> selectedRow() const;

    /// Shows `rows` in their order. The selected row stays selected while there is a row of its identity; scroll
    /// position and column widths stay. Nothing happens when the rows are those shown before.
    void setRows(std::vector<Json> rows);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const std::vector<Json>& rows() const { return m_model->rows(); }
    int selectedIndex() const;
    bool isSameRow(const Json& row, const Json& other) const;
    std::optional<int> indexOf(const Json& row, int likelyIndex) const;

    std::vector<const char*> m_identity;
    JsonRowModel* m_model; // child of this
};
