#pragma once

#include "ui/JsonRowModel.h"

#include <QTableView>

#include <optional>

/// A read-only table of JSON rows. One row can be selected. The columns have their given widths at first and can be
/// resized. A cell shows one elided line of plain text; its tool tip shows the text.
///
/// A table that gets the keyboard focus without a current row has none until an arrow key is pressed.
class JsonTable final : public QTableView
{
    Q_OBJECT

public:
    /// The members with the names `identity` identify a row after a refresh: see `JsonRowModel::setRows`.
    JsonTable(std::vector<JsonColumn> columns, std::vector<std::string_view> identity, QWidget* parent = nullptr);

    /// Returns a copy of the selected row. It is a copy because a refresh may remove the row at any time.
    std::optional<Json> selectedRow() const;

    /// Shows `rows` in their order. The selected row stays selected if it is still there. The scroll position and the
    /// column widths stay.
    void setRows(std::vector<Json> rows) { m_model->setRows(std::move(rows)); }

signals:
    /// Another row is selected, or no row. While the mouse is dragged over rows, the signal waits until the button is
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
    QPersistentModelIndex m_announcedIndex; // the selected row at the last signal
    bool m_isMousePressed = false;
};
