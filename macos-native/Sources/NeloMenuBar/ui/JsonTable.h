#pragma once

#include "ui/JsonRowModel.h"

#include <QTableView>

#include <optional>

/// A table of JSON rows: read-only, one row can be selected, columns start at their given widths and can be resized,
/// cells show one elided line of plain text, whose tool tip is the whole text.
///
/// The keyboard alone moves nothing: a table that gets it without a current row has none until an arrow key is pressed.
class JsonTable final : public QTableView
{
    Q_OBJECT

public:
    /// The members called `identity` say which row is which after a refresh: see `JsonRowModel::setRows`.
    JsonTable(std::vector<JsonColumn> columns, std::vector<const char*> identity, QWidget* parent = nullptr);

    /// Returns a copy of the selected row, because a refresh may remove the row itself at any time.
    std::optional<Json> selectedRow() const;

    /// Shows `rows` in their order. The selected row stays selected while it is there, and so do the scroll position
    /// and the column widths.
    void setRows(std::vector<Json> rows) { m_model->setRows(std::move(rows)); }

signals:
    /// Another row is selected, or none. A mouse that is dragged over rows has selected one when its button is
    /// released.
    void selectionDidChange();

protected:
    void focusInEvent(QFocusEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

protected slots:
    void rowsAboutToBeRemoved(const QModelIndex& parent, int first, int last) override;

private:
    QModelIndex selectedIndex() const;
    void announceSelection();

    JsonRowModel* m_model;                  // child of this
    QPersistentModelIndex m_announcedIndex; // the selected row that was told last
    bool m_isMousePressed = false;
};
