#include "ui/JsonTable.h"

#include "support/Slowness.h"
#include "support/Warnings.h"

#include <QAccessible>
#include <QHeaderView>
#include <QHelpEvent>
#include <QLineEdit>
#include <QScrollBar>
#include <QTest>
#include <QToolTip>
#include <QVBoxLayout>

#include <algorithm>

namespace {

std::vector<JsonColumn> columns()
{
    return {{"id", QStringLiteral("ID"), 150}, {"name", QStringLiteral("Name"), 180}, {"note", {}, 500}};
}

Json agent(const std::string& ecosystem, int id, const std::string& name = "name")
{
    return {{"ecosystem", ecosystem}, {"id", id}, {"name", name}};
}

/// `count` rows with the ids from `first` on.
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

    void select(int row) { table.setCurrentIndex(table.model()->index(row, 1)); }
    /// The index of the selected row; -1 when none is.
    int selected() const
    {
        const QModelIndexList rows = table.selectionModel()->selectedRows();
        return rows.isEmpty() ? -1 : rows.first().row();
    }

    JsonTable table;
};

} // namespace

/// The table of JSON rows as a person sees and drives it.
class TestJsonTable final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void columnsStartAtTheirWidthsAndCanBeResized()
    {
        Table shown;
        QCOMPARE(shown.table.columnWidth(0), 150);
        QCOMPARE(shown.table.columnWidth(1), 180);
        QCOMPARE(shown.table.columnWidth(2), 500);
        QCOMPARE(shown.table.horizontalHeader()->sectionResizeMode(1), QHeaderView::Interactive);
    }

    void rowsAlternateUnderTheHeaderWithoutNumbers()
    {
        Table shown;
        QVERIFY(shown.table.alternatingRowColors());
        QVERIFY(!shown.table.showGrid());
        QVERIFY(!shown.table.horizontalHeader()->highlightSections());
        QVERIFY(shown.table.horizontalHeader()->isVisible());
        QVERIFY(!shown.table.verticalHeader()->isVisible());
    }

    void aRowLeavesRoomAroundItsLine()
    {
        Table shown;
        shown.table.setRows(agents(1));
        QCOMPARE(shown.table.rowHeight(0), shown.table.fontMetrics().height() + 8);
    }

    void aClickSelectsTheWholeRowAndNoSecondOne()
    {
        Table shown;
        shown.table.setRows(agents(3));
        const auto click = [&shown](int row, Qt::KeyboardModifier modifier) {
            const QRect cell = shown.table.visualRect(shown.table.model()->index(row, 0));
            QTest::mouseClick(shown.table.viewport(), Qt::LeftButton, modifier, cell.center());
        };
        click(0, Qt::NoModifier);
        QCOMPARE(shown.table.selectionModel()->selectedIndexes().size(), 3); // every column of it
        click(2, Qt::ShiftModifier);
        QCOMPARE(shown.table.selectionModel()->selectedRows().size(), 1);
        QCOMPARE(shown.table.selectedRow(), std::optional(agent("codex", 2)));
    }

    void nothingIsSelectedAtFirst()
    {
        Table shown;
        QCOMPARE(shown.table.selectedRow(), std::nullopt);
        shown.table.setRows(agents(2));
        QCOMPARE(shown.table.selectedRow(), std::nullopt);
    }

    void aCellCannotBeEdited()
    {
        Table shown;
        shown.table.setRows(agents(1));
        const QPoint cell = shown.table.visualRect(shown.table.model()->index(0, 0)).center();
        QTest::mouseDClick(shown.table.viewport(), Qt::LeftButton, {}, cell);
        QTest::keyClick(&shown.table, Qt::Key_F2);
        QVERIFY(!shown.table.findChild<QLineEdit*>());
    }

    void tabLeavesTheTable()
    {
        QWidget window;
        auto* table = new JsonTable(columns(), {"id"}, &window);
        auto* next = new QLineEdit(&window);
        auto* column = new QVBoxLayout(&window);
        column->addWidget(table);
        column->addWidget(next);
        table->setRows(agents(2));
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        table->setFocus();
        QTest::keyClick(table, Qt::Key_Tab);
        QVERIFY(next->hasFocus());
    }

    void theFirstArrowKeySelectsTheFirstRow()
    {
        QWidget window;
        auto* before = new QLineEdit(&window);
        auto* table = new JsonTable(columns(), {"id"}, &window);
        auto* column = new QVBoxLayout(&window);
        column->addWidget(before);
        column->addWidget(table);
        table->setRows(agents(3));
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QTest::keyClick(before, Qt::Key_Tab);
        QVERIFY(table->hasFocus());
        QVERIFY(!table->currentIndex().isValid());
        QTest::keyClick(table, Qt::Key_Down);
        QCOMPARE(table->selectedRow(), std::optional(agent("codex", 0)));
        QTest::keyClick(table, Qt::Key_Down);
        QCOMPARE(table->selectedRow(), std::optional(agent("codex", 1)));
    }

    void aSelectionIsToldOnceItIsMade()
    {
        Table shown;
        shown.table.setRows(agents(3));
        QStringList told;
        connect(&shown.table, &JsonTable::selectionDidChange, this,
                [&] { told.append(QString::number(shown.selected())); });
        const auto center = [&shown](int row) {
            return shown.table.visualRect(shown.table.model()->index(row, 0)).center();
        };
        QTest::mousePress(shown.table.viewport(), Qt::LeftButton, {}, center(0));
        QTest::mouseMove(shown.table.viewport(), center(1));
        QTest::mouseMove(shown.table.viewport(), center(2));
        QCOMPARE(told.join(u' '), QString());
        QTest::mouseRelease(shown.table.viewport(), Qt::LeftButton, {}, center(2));
        QTest::keyClick(&shown.table, Qt::Key_Up);
        shown.table.setRows(agents(3, 1)); // the row is in another place
        shown.table.setRows(agents(3, 1));
        shown.table.setRows(agents(3, 7)); // and now it is gone
        QCOMPARE(told.join(u' '), QStringLiteral("2 1 -1"));
    }

    void showsThatItHasTheKeyboardWithoutARowToo()
    {
        QWidget window;
        auto* before = new QLineEdit(&window);
        auto* table = new JsonTable(columns(), {"id"}, &window);
        auto* column = new QVBoxLayout(&window);
        column->addWidget(before);
        column->addWidget(table);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        const auto lowerEdge = [table] {
            const QRect edge(0, table->viewport()->height() - 5, table->viewport()->width(), 5);
            return table->viewport()->grab(edge).toImage();
        };
        before->setFocus();
        const QImage usual = lowerEdge();
        QTest::keyClick(before, Qt::Key_Tab);
        QVERIFY(table->hasFocus());
        QVERIFY(lowerEdge() != usual);
        table->setRows(agents(1));
        table->setCurrentIndex(table->model()->index(0, 0)); // which has a frame of its own
        QCOMPARE(lowerEdge(), usual);
    }

    void rowsAreAllOneLineHigh()
    {
        Table shown;
        shown.table.setRows({agent("codex", 1), agent("codex", 2, "one\ntwo\nthree")});
        QCOMPARE(shown.table.rowHeight(1), shown.table.rowHeight(0));
        QVERIFY(shown.table.rowHeight(1) < 2 * shown.table.fontMetrics().lineSpacing());
        QVERIFY(!shown.table.wordWrap());
        QCOMPARE(shown.table.textElideMode(), Qt::ElideRight);
    }

    void aMegabyteCellPaintsAtOnce()
    {
        Table plain;
        plain.table.setRows(agents(20));
        Table heavy;
        std::vector<Json> rows = agents(20);
        for (Json& row : rows)
            row["name"] = std::string(1'000'000, 'x');
        heavy.table.setRows(rows);

        const auto millisecondsToPaint = [](QWidget& widget) {
            QElapsedTimer timer;
            timer.start();
            widget.grab();
            return timer.elapsed();
        };
        millisecondsToPaint(plain.table); // the fonts are loaded once
        const qint64 usual = millisecondsToPaint(plain.table);
        const qint64 elapsed = millisecondsToPaint(heavy.table);
        QVERIFY2(elapsed < usual + 200 * slowness,
                 qPrintable(QString::number(elapsed))); // laid out in full it is seconds
    }

    void theSelectedRowStaysSelected_data()
    {
        QTest::addColumn<int>("selected");
        QTest::addColumn<QByteArray>("after");
        QTest::addColumn<int>("expected");

        QTest::newRow("when its other values change")
            << 1 << QByteArray(R"([{"ecosystem":"codex","id":0},{"ecosystem":"codex","id":1,"name":"new"}])") << 1;
        QTest::newRow("when rows come before it")
            << 0 << QByteArray(R"([{"ecosystem":"codex","id":7},{"ecosystem":"codex","id":0}])") << 1;
        QTest::newRow("when rows before it go") << 2 << QByteArray(R"([{"ecosystem":"codex","id":2}])") << 0;
        QTest::newRow("but not as one of another ecosystem")
            << 1 << QByteArray(R"([{"ecosystem":"kimi","id":0},{"ecosystem":"kimi","id":1}])") << -1;
        QTest::newRow("but not when it is gone")
            << 1 << QByteArray(R"([{"ecosystem":"codex","id":0},{"ecosystem":"codex","id":2}])") << -1;
        QTest::newRow("but not as one that lacks its identity")
            << 1 << QByteArray(R"([{"id":1},{"ecosystem":"codex"}])") << -1;
        QTest::newRow("as itself, when two of one identity change places")
            << 1
            << QByteArray(R"([{"ecosystem":"codex","id":1,"name":"name"},{"ecosystem":"codex","id":1,"name":"other"}])")
            << 0;
        QTest::newRow("but not in an empty table") << 1 << QByteArray("[]") << -1;
    }

    void theSelectedRowStaysSelected()
    {
        QFETCH(int, selected);
        QFETCH(QByteArray, after);
        QFETCH(int, expected);
        Table shown;
        shown.table.setRows(agents(3));
        shown.select(selected);
        shown.table.setRows(Json::parse(after.toStdString()));
        QCOMPARE(shown.selected(), expected);
        QCOMPARE(shown.table.selectedRow().has_value(), expected >= 0);
    }

    void theColumnOfTheKeyboardStays()
    {
        Table shown;
        shown.table.setRows(agents(3));
        shown.select(2);
        shown.table.setRows(agents(3, 1));
        QCOMPARE(shown.table.currentIndex(), shown.table.model()->index(1, 1));
    }

    void theScrollPositionStays()
    {
        Table shown;
        shown.table.setRows(agents(10'000));
        QCoreApplication::processEvents();
        shown.table.verticalScrollBar()->setValue(4'321);
        shown.table.horizontalScrollBar()->setValue(123);
        shown.table.setRows(agents(10'000, 1));
        QCOMPARE(shown.table.verticalScrollBar()->value(), 4'321);
        QCOMPARE(shown.table.horizontalScrollBar()->value(), 123);
        QCoreApplication::processEvents();
        QCOMPARE(shown.table.verticalScrollBar()->value(), 4'321);

        shown.table.setRows(agents(2)); // less than fills the view
        QCoreApplication::processEvents();
        QCOMPARE(shown.table.verticalScrollBar()->value(), 0);
    }

    void selectingAgainDoesNotScrollThere()
    {
        Table shown;
        shown.table.setRows(agents(1000));
        shown.select(5);
        shown.table.verticalScrollBar()->setValue(9'000);
        shown.table.horizontalScrollBar()->setValue(400);
        shown.table.setRows(agents(1001));
        QCOMPARE(shown.selected(), 5);
        QCOMPARE(shown.table.verticalScrollBar()->value(), 9'000);
        QCOMPARE(shown.table.horizontalScrollBar()->value(), 400);
    }

    void theColumnWidthsStay()
    {
        Table shown;
        shown.table.setRows(agents(3));
        shown.table.setColumnWidth(1, 77);
        shown.table.setRows(agents(4));
        shown.table.setRows({});
        QCOMPARE(shown.table.columnWidth(0), 150);
        QCOMPARE(shown.table.columnWidth(1), 77);
    }

    void equalRowsPaintNothing()
    {
        class PaintCounter final : public QObject
        {
        public:
            bool eventFilter(QObject* /*watched*/, QEvent* event) override
            {
                paints += event->type() == QEvent::Paint || event->type() == QEvent::UpdateRequest ? 1 : 0;
                return false;
            }
            int paints = 0;
        };

        Table shown;
        shown.table.setRows(agents(50));
        shown.select(3);
        QVERIFY(QTest::qWaitForWindowExposed(&shown.table));
        QCoreApplication::processEvents();
        PaintCounter counter;
        shown.table.viewport()->installEventFilter(&counter);
        shown.table.setRows(agents(50));
        QCoreApplication::processEvents();
        QCOMPARE(counter.paints, 0);
        shown.table.setRows(agents(51));
        QTRY_VERIFY(counter.paints > 0);
    }

    void anElidedCellTellsItsTextInAToolTip()
    {
        Table shown;
        shown.table.setRows({agent("codex", 1, "<b>bold</b> " + std::string(100, 'w'))});
        const QPoint cell = shown.table.visualRect(shown.table.model()->index(0, 1)).center();
        QHelpEvent event(QEvent::ToolTip, cell, shown.table.viewport()->mapToGlobal(cell));
        QCoreApplication::sendEvent(shown.table.viewport(), &event);
        QVERIFY(QToolTip::isVisible());
        QVERIFY(QToolTip::text().contains(QStringLiteral("&lt;b&gt;bold&lt;/b&gt;"))); // shown as it stands
        QToolTip::hideText();
        QTRY_VERIFY(!QToolTip::isVisible());
    }

    void aCellThatFitsHasNoToolTip()
    {
        Table shown;
        shown.table.setRows({agent("codex", 1, "short")});
        const QPoint cell = shown.table.visualRect(shown.table.model()->index(0, 1)).center();
        QHelpEvent event(QEvent::ToolTip, cell, shown.table.viewport()->mapToGlobal(cell));
        QCoreApplication::sendEvent(shown.table.viewport(), &event);
        QVERIFY(!QToolTip::isVisible());
    }
};

QTEST_MAIN(TestJsonTable)
#include "TestJsonTable.moc"
