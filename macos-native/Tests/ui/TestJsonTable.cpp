#include "ui/JsonTable.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"

#include <QAccessible>
#include <QHeaderView>
#include <QHelpEvent>
#include <QLineEdit>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QToolTip>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

std::vector<JsonColumn> columns()
{
    return {{"id", u"ID"_s, 150}, {"name", u"Name"_s, 180}, {"note", {}, 500}};
}

Json agent(const std::string& ecosystem, int id, const std::string& name = "name")
{
    return {{"ecosystem", ecosystem}, {"id", id}, {"name", name}};
}

/// Returns `count` rows, whose ids begin with `first`.
std::vector<Json> agents(int count, int first = 0)
{
    std::vector<Json> rows(static_cast<std::size_t>(count));
    std::generate(rows.begin(), rows.end(), [id = first]() mutable { return agent("codex", id++); });
    return rows;
}

class Table final
{
public:
    Table() : table(columns(), {"ecosystem", "id"})
    {
        table.resize(400, 300);
        table.show();
    }

    /// Returns the place of the second cell of a row.
    QRect cell(int row) const { return table.visualRect(table.model()->index(row, 1)); }
    void select(int row) { table.setCurrentIndex(table.model()->index(row, 1)); }
    /// Returns the index of the selected row, or -1 when no row is selected.
    int selected() const
    {
        const QModelIndexList rows = table.selectionModel()->selectedRows();
        return rows.isEmpty() ? -1 : rows.first().row();
    }

    JsonTable table;
};

/// A table between two fields that can have the focus, too.
struct Neighbours
{
    Neighbours()
    {
        auto* column = new QVBoxLayout(&window);
        for (QWidget* widget : std::initializer_list<QWidget*>{before, table, after})
            column->addWidget(widget);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        before->setFocus();
    }

    QWidget window;
    QLineEdit* before = new QLineEdit;
    JsonTable* table = new JsonTable(columns(), {"id"});
    QLineEdit* after = new QLineEdit;
};

} // namespace

/// The table of JSON rows as a user sees and operates it.
class TestJsonTable final : public TestCase
{
    Q_OBJECT

private slots:
    void columnsStartAtTheirWidthsAndStay()
    {
        Table shown;
        QCOMPARE(shown.table.horizontalHeader()->sectionResizeMode(1), QHeaderView::Interactive);
        shown.table.setRows(agents(3));
        QCOMPARE(shown.table.columnWidth(1), 180);
        shown.table.setColumnWidth(1, 77);
        shown.table.setRows(agents(4));
        shown.table.setRows({});
        QCOMPARE(shown.table.columnWidth(0), 150);
        QCOMPARE(shown.table.columnWidth(1), 77);
        QCOMPARE(shown.table.columnWidth(2), 500);
    }

    void rowsAreOneLineHighAndAlternateUnderTheHeader()
    {
        Table shown;
        shown.table.setRows({agent("codex", 1), agent("codex", 2, "one\ntwo\nthree")});
        QCOMPARE(shown.table.rowHeight(0), shown.table.fontMetrics().height() + 8);
        QCOMPARE(shown.table.rowHeight(1), shown.table.rowHeight(0));
        QVERIFY(!shown.table.wordWrap());
        QCOMPARE(shown.table.textElideMode(), Qt::ElideRight);
        QVERIFY(shown.table.alternatingRowColors());
        QVERIFY(!shown.table.showGrid());
        QVERIFY(!shown.table.horizontalHeader()->highlightSections());
        QVERIFY(shown.table.horizontalHeader()->isVisible());
        QVERIFY(!shown.table.verticalHeader()->isVisible());
    }

    void aClickSelectsTheWholeRowAndNoSecondOne()
    {
        Table shown;
        QCOMPARE(shown.table.selectedRow(), std::nullopt);
        shown.table.setRows(agents(3));
        QCOMPARE(shown.table.selectedRow(), std::nullopt);
        QTest::mouseClick(shown.table.viewport(), Qt::LeftButton, {}, shown.cell(0).center());
        QCOMPARE(shown.table.selectionModel()->selectedIndexes().size(), 3); // every column of it
        QTest::mouseClick(shown.table.viewport(), Qt::LeftButton, Qt::ShiftModifier, shown.cell(2).center());
        QCOMPARE(shown.table.selectionModel()->selectedRows().size(), 1);
        QCOMPARE(shown.table.selectedRow(), std::optional(agent("codex", 2)));
    }

    void aCellCannotBeEdited()
    {
        Table shown;
        shown.table.setRows(agents(1));
        QTest::mouseDClick(shown.table.viewport(), Qt::LeftButton, {}, shown.cell(0).center());
        QTest::keyClick(&shown.table, Qt::Key_F2);
        QVERIFY(!shown.table.findChild<QLineEdit*>());
    }

    void theFirstArrowKeySelectsTheFirstRowAndTabLeaves()
    {
        const Neighbours shown;
        shown.table->setRows(agents(3));
        QTest::keyClick(shown.before, Qt::Key_Tab);
        QVERIFY(shown.table->hasFocus());
        QVERIFY(!shown.table->currentIndex().isValid());
        for (const int row : {0, 1}) {
            QTest::keyClick(shown.table, Qt::Key_Down);
            QCOMPARE(shown.table->selectedRow(), std::optional(agent("codex", row)));
        }
        QTest::keyClick(shown.table, Qt::Key_Tab);
        QVERIFY(shown.after->hasFocus());
    }

    void aSelectionIsSignalledWhenItIsComplete()
    {
        Table shown;
        shown.table.setRows(agents(3));
        QStringList selections;
        connect(&shown.table, &JsonTable::selectionDidChange, this,
                [&] { selections.append(QString::number(shown.selected())); });
        QTest::mousePress(shown.table.viewport(), Qt::LeftButton, {}, shown.cell(0).center());
        for (const int row : {1, 2})
            QTest::mouseMove(shown.table.viewport(), shown.cell(row).center());
        QVERIFY(selections.isEmpty());
        QTest::mouseRelease(shown.table.viewport(), Qt::LeftButton, {}, shown.cell(2).center());
        QTest::keyClick(&shown.table, Qt::Key_Up);
        shown.table.setRows(agents(3, 1)); // the row is in another place
        shown.table.setRows(agents(3, 1));
        shown.table.setRows(agents(3, 7)); // and now it is gone
        QCOMPARE(selections.join(u' '), u"2 1 -1"_s);
    }

    void showsTheFocusAlsoWithoutARow()
    {
        const Neighbours shown;
        const auto lowerEdge = [view = shown.table->viewport()] {
            return view->grab({0, view->height() - 5, view->width(), 5}).toImage();
        };
        const QImage usual = lowerEdge();
        QTest::keyClick(shown.before, Qt::Key_Tab);
        QVERIFY(shown.table->hasFocus());
        QVERIFY(lowerEdge() != usual);
        shown.table->setRows(agents(1));
        shown.table->setCurrentIndex(shown.table->model()->index(0, 0)); // the row has a frame of its own
        QCOMPARE(lowerEdge(), usual);
    }

    void theSelectedRowStaysSelectedInItsColumn()
    {
        const CaseTable<int, QByteArray, int> cases{
            {"when its other values change", 1,
             R"([{"ecosystem":"codex","id":0},{"ecosystem":"codex","id":1,"name":"new"}])", 1},
            {"when rows come before it", 0, R"([{"ecosystem":"codex","id":7},{"ecosystem":"codex","id":0}])", 1},
            {"when rows before it go", 2, R"([{"ecosystem":"codex","id":2}])", 0},
            {"but not as one of another ecosystem", 1, R"([{"ecosystem":"kimi","id":0},{"ecosystem":"kimi","id":1}])",
             -1},
            {"but not when it is gone", 1, R"([{"ecosystem":"codex","id":0},{"ecosystem":"codex","id":2}])", -1},
            {"but not as one that lacks its identity", 1, R"([{"id":1},{"ecosystem":"codex"}])", -1},
            {"as itself, when another of its identity comes before it", 1,
             R"([{"ecosystem":"codex","id":1,"name":"other"},{"ecosystem":"codex","id":1,"name":"name"}])", 1},
            {"but not in an empty table", 1, "[]", -1},
        };
        for (const auto& [selected, after, expected] : cases) {
            Table shown;
            shown.table.setRows(agents(3));
            shown.select(selected);
            shown.table.setRows(Json::parse(after.toStdString()));
            QCOMPARE(shown.selected(), expected);
            QCOMPARE(shown.table.selectedRow().has_value(), expected >= 0);
            if (expected >= 0)
                QCOMPARE(shown.table.currentIndex(), shown.table.model()->index(expected, 1)); // in the same column
        }
    }

    void theScrollPositionStays()
    {
        Table shown;
        shown.table.setRows(agents(10'000));
        shown.select(5); // which does not scroll back to it
        QCoreApplication::processEvents();
        shown.table.verticalScrollBar()->setValue(54'321);
        shown.table.horizontalScrollBar()->setValue(123);
        shown.table.setRows(agents(10'000, 1));
        for (int turn = 0; turn < 2; ++turn) {
            QCOMPARE(shown.selected(), 4);
            QCOMPARE(shown.table.verticalScrollBar()->value(), 54'321);
            QCOMPARE(shown.table.horizontalScrollBar()->value(), 123);
            QCoreApplication::processEvents();
        }

        shown.table.setRows(agents(2)); // less than fills the view
        QCoreApplication::processEvents();
        QCOMPARE(shown.table.verticalScrollBar()->value(), 0);
    }

    void anElidedCellShowsItsTextInAToolTip()
    {
        Table shown;
        const auto toolTipOfRow = [&shown](int row) {
            const QPoint cell = shown.cell(row).center();
            QHelpEvent event(QEvent::ToolTip, cell, shown.table.viewport()->mapToGlobal(cell));
            QCoreApplication::sendEvent(shown.table.viewport(), &event);
            return QToolTip::isVisible() ? QToolTip::text() : QString();
        };
        shown.table.setRows({agent("codex", 1, "short"), agent("codex", 2, "<b>bold</b> " + std::string(100, 'w'))});
        QCOMPARE(toolTipOfRow(0), QString());
        shown.table.resizeColumnToContents(1);
        QCOMPARE(toolTipOfRow(1), QString());
        shown.table.setColumnWidth(1, shown.table.columnWidth(1) - 1);
        QVERIFY(toolTipOfRow(1).contains(u"&lt;b&gt;bold&lt;/b&gt;"_s)); // shown as it stands
        shown.table.setRows({agent("codex", 1, std::string(2'000, 'w') + "end")});
        QVERIFY(toolTipOfRow(0).contains(u"wend"_s)); // only the painted text is cut: more would take seconds
        const auto* delegate = qobject_cast<QStyledItemDelegate*>(shown.table.itemDelegate());
        QCOMPARE(delegate->displayText(QString(1'000'000, u'x'), {}).size(), 1001);
    }
};

QTEST_MAIN(TestJsonTable)
#include "TestJsonTable.moc"
