#include "ui/JsonTable.h"

#include "support/CaseTable.h"
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

/// A table between two fields, to which the keyboard may go.
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

/// The table of JSON rows as a person sees and drives it.
class TestJsonTable final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

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

    void aCellCannotBeEdited()
    {
        Table shown;
        shown.table.setRows(agents(1));
        const QPoint cell = shown.table.visualRect(shown.table.model()->index(0, 0)).center();
        QTest::mouseDClick(shown.table.viewport(), Qt::LeftButton, {}, cell);
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
        QCOMPARE(told.join(u' '), u"2 1 -1"_s);
    }

    void showsThatItHasTheKeyboardWithoutARowToo()
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
        shown.table->setCurrentIndex(shown.table->model()->index(0, 0)); // which has a frame of its own
        QCOMPARE(lowerEdge(), usual);
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

    void theSelectedRowStaysSelected()
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
            {"as itself, when two of one identity change places", 1,
             R"([{"ecosystem":"codex","id":1,"name":"name"},{"ecosystem":"codex","id":1,"name":"other"}])", 0},
            {"but not in an empty table", 1, "[]", -1},
        };
        for (const auto& [selected, after, expected] : cases) {
            Table shown;
            shown.table.setRows(agents(3));
            shown.select(selected);
            shown.table.setRows(Json::parse(after.toStdString()));
            QCOMPARE(shown.selected(), expected);
            QCOMPARE(shown.table.selectedRow().has_value(), expected >= 0);
        }
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
        const auto toolTipOfRow = [&shown](int row) {
            const QPoint cell = shown.table.visualRect(shown.table.model()->index(row, 1)).center();
            QHelpEvent event(QEvent::ToolTip, cell, shown.table.viewport()->mapToGlobal(cell));
            QCoreApplication::sendEvent(shown.table.viewport(), &event);
            return QToolTip::isVisible() ? QToolTip::text() : QString();
        };
        shown.table.setRows({agent("codex", 1, "short"), agent("codex", 2, "<b>bold</b> " + std::string(100, 'w'))});
        QCOMPARE(toolTipOfRow(0), QString());
        QVERIFY(toolTipOfRow(1).contains(u"&lt;b&gt;bold&lt;/b&gt;"_s)); // shown as it stands
    }
};

QTEST_MAIN(TestJsonTable)
#include "TestJsonTable.moc"
