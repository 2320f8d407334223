#include "ui/JsonRowModel.h"

#include "backend/BackendReply.h"
#include "support/Warnings.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

namespace {

const QString replacement = QString(QChar(QChar::ReplacementCharacter));

std::vector<JsonColumn> nameAndCount()
{
    return {{"name", QStringLiteral("Name"), 180}, {"count", QStringLiteral("Count"), 60}};
}

QByteArray rowNamed(const QByteArray& name)
{
    return R"({"name":")" + name + R"("})";
}

std::vector<Json> rowsOf(const QByteArray& reply)
{
    return BackendReply(reply.toStdString()).rows();
}

} // namespace

/// The rows of a reply as a table model, always under Qt's model tester.
class TestJsonRowModel final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void aNewModelHasColumnsAndNoRows()
    {
        JsonRowModel model(nameAndCount());
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(model.columnCount(), 2);
    }

    void headersAreTheTitles()
    {
        const JsonRowModel model(nameAndCount());
        QCOMPARE(model.headerData(0, Qt::Horizontal).toString(), QStringLiteral("Name"));
        QCOMPARE(model.headerData(1, Qt::Horizontal).toString(), QStringLiteral("Count"));
        QVERIFY(!model.headerData(2, Qt::Horizontal).isValid());
        QVERIFY(!model.headerData(-1, Qt::Horizontal).isValid());
        QVERIFY(!model.headerData(0, Qt::Vertical).isValid());
    }

    void rowsKeepTheirOrder()
    {
        JsonRowModel model(nameAndCount());
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setRows(rowsOf(R"([{"name":"b"},{"name":"a"},{"name":"b"}])"));
        QCOMPARE(model.rowCount(), 3);
        QStringList names;
        for (int row = 0; row < model.rowCount(); ++row)
            names += model.index(row, 0).data().toString();
        QCOMPARE(names, QStringList({QStringLiteral("b"), QStringLiteral("a"), QStringLiteral("b")}));
        QCOMPARE(model.rowCount(model.index(0, 0)), 0);
        QCOMPARE(model.columnCount(model.index(0, 0)), 0);
    }

    void aCellShowsItsMember_data()
    {
        QTest::addColumn<QByteArray>("row");
        QTest::addColumn<QString>("text");

        QTest::newRow("a string as is") << QByteArray(R"({"name":"agent"})") << QStringLiteral("agent");
        QTest::newRow("Chinese and an emoji")
            << QByteArray("{\"name\":\"代理🙂\"}") << QStringLiteral("代理🙂");
        QTest::newRow("an integer in decimal") << QByteArray(R"({"name":-7})") << QStringLiteral("-7");
        QTest::newRow("a large integer exactly")
            << QByteArray(R"({"name":18446744073709551615})") << QStringLiteral("18446744073709551615");
        QTest::newRow("a double in its shortest form") << QByteArray(R"({"name":0.1})") << QStringLiteral("0.1");
        QTest::newRow("true as 1") << QByteArray(R"({"name":true})") << QStringLiteral("1");
        QTest::newRow("null") << QByteArray(R"({"name":null})") << QStringLiteral("<null>");
        QTest::newRow("a nested value as JSON")
            << QByteArray(R"({"name":{"z":[1,"a"],"a":{}}})") << QStringLiteral(R"({"z":[1,"a"],"a":{}})");
        QTest::newRow("nothing for a missing member") << QByteArray(R"({"Name":"other case"})") << QString();
        QTest::newRow("nothing for an empty row") << QByteArray("{}") << QString();
        QTest::newRow("markup as it stands")
            << QByteArray(R"({"name":"<b>x</b>&amp;"})") << QStringLiteral("<b>x</b>&amp;");
        QTest::newRow("bidirectional marks as they stand")
            << QByteArray(R"({"name":"a\u202egnp.exe\u2066"})") << QStringLiteral("a\u202egnp.exe\u2066");
        QTest::newRow("every line break as a blank")
            << QByteArray(R"({"name":"1\n2\r3\u000b4\u000c5\u00856\u20287\u20298"})")
            << QStringLiteral("1 2 3 4 5 6 7 8");
        QTest::newRow("a thousand characters in full") << rowNamed(QByteArray(1000, 'x')) << QString(1000, u'x');
        QTest::newRow("ten thousand characters in full") << rowNamed(QByteArray(10'000, 'x')) << QString(10'000, u'x');
    }

    void aCellShowsItsMember()
    {
        QFETCH(QByteArray, row);
        QFETCH(QString, text);
        JsonRowModel model(nameAndCount());
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setRows({Json::parse(row.toStdString())});
        QCOMPARE(model.index(0, 0).data().toString(), text);
        QVERIFY(!text.contains(replacement));
    }

    void aColumnMayShowMoreThanItsMember()
    {
        const auto both = [](const Json& row) { return textOf(row, "name") + u'\n' + textOf(row, "count"); };
        JsonRowModel model({{"name", QStringLiteral("Name"), 180, both}});
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setRows(rowsOf(R"([{"name":"a","count":2}])"));
        QCOMPARE(model.index(0, 0).data().toString(), QStringLiteral("a 2"));
    }

    void aCellHasNothingButText()
    {
        JsonRowModel model(nameAndCount());
        model.setRows(rowsOf(R"([{"name":"a"}])"));
        QVERIFY(!model.index(0, 0).data(Qt::CheckStateRole).isValid());
        QVERIFY(!model.index(0, 0).data(Qt::ToolTipRole).isValid());
        QVERIFY(!(model.flags(model.index(0, 0)) & Qt::ItemIsEditable));
    }

    void aRowIsKeptAsItCame()
    {
        const std::string row = R"({"z":1.0,"name":"line\nbreak","a":{"deep":[null]},"big":9007199254740993})";
        JsonRowModel model(nameAndCount());
        model.setRows({Json::parse(row)});
        QCOMPARE(model.rows().at(0).dump(), row);
    }

    void whereThereIsNoCellThereIsNoText()
    {
        JsonRowModel model(nameAndCount());
        model.setRows(rowsOf(R"([{"name":"a"}])"));
        const QModelIndex cell = model.index(0, 1);
        QVERIFY(!model.data(QModelIndex()).isValid());
        QVERIFY(!model.index(1, 0).isValid());
        QVERIFY(!model.index(0, 2).isValid());
        model.setRows({});
        QVERIFY(!model.data(cell).isValid()); // an index that outlived its row
    }

    void equalRowsChangeNothing_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::newRow("no rows") << QByteArray("[]");
        QTest::newRow("rows with every kind of value")
            << QByteArray(R"([{"name":"a","count":1},{"name":null,"more":[1.5,true,{"x":"y"}]}])");
    }

    void equalRowsChangeNothing()
    {
        QFETCH(QByteArray, reply);
        JsonRowModel model(nameAndCount());
        model.setRows(rowsOf(reply));
        const QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        const QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
        model.setRows(rowsOf(reply));
        QCOMPARE(changed.count() + reset.count(), 0);
    }

    void rowsThatStayAreTheSameRows_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("after");
        QTest::addColumn<QByteArray>("places"); // of the rows before, in the table after
        const auto add = [](const char* name, const char* before, const char* after, const char* places) {
            QTest::newRow(name) << QByteArray(before) << QByteArray(after) << QByteArray(places);
        };
        add("a changed value", R"([{"id":1,"name":"a"}])", R"([{"id":1,"name":"b"}])", "0");
        add("a value that no column shows", R"([{"id":1}])", R"([{"id":1,"x":2}])", "0");
        add("another order", R"([{"id":1},{"id":2},{"id":3}])", R"([{"id":3},{"id":1},{"id":2}])", "1 2 0");
        add("one more in front", R"([{"id":1}])", R"([{"id":0},{"id":1}])", "1");
        add("one more between", R"([{"id":1},{"id":3}])", R"([{"id":1},{"id":2},{"id":3}])", "0 2");
        add("one less", R"([{"id":1},{"id":2},{"id":3}])", R"([{"id":1},{"id":3}])", "0 - 1");
        add("none left", R"([{"id":1},{"id":2}])", "[]", "- -");
        add("all new", R"([{"id":1},{"id":2}])", R"([{"id":3},{"id":4}])", "- -");
        add("everything at once", R"([{"id":1},{"id":2},{"id":3},{"id":4}])",
            R"([{"id":9},{"id":4,"name":"x"},{"id":8},{"id":7},{"id":2},{"id":6}])", "- 4 - 1");
        add("equal rows that change places are told apart", R"([{"id":1,"name":"a"},{"id":1,"name":"b"}])",
            R"([{"id":1,"name":"b"},{"id":1,"name":"a"}])", "1 0");
        add("rows with one identity keep their order", R"([{"id":1},{"id":1}])", R"([{"id":1,"x":1},{"id":1,"x":2}])",
            "0 1");
        add("rows that lack an identity have the same", R"([{"name":"a"},{}])", R"([{"id":1},{"name":"b"}])", "1 -");
        add("a number is not its text", R"([{"id":1}])", R"([{"id":"1"}])", "-");
    }

    void rowsThatStayAreTheSameRows()
    {
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, after);
        QFETCH(QByteArray, places);
        JsonRowModel model(nameAndCount(), {"id"});
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        const QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
        model.setRows(rowsOf(before));
        QList<QPersistentModelIndex> rows;
        for (int row = 0; row < model.rowCount(); ++row)
            rows.append(model.index(row, 1));
        model.setRows(rowsOf(after));
        QVERIFY(model.rows() == rowsOf(after));
        QByteArrayList found;
        for (const QPersistentModelIndex& row : rows)
            found.append(row.isValid() ? QByteArray::number(row.row()) : "-");
        QCOMPARE(found.join(' '), places);
        QCOMPARE(resets.count(), 0);
    }

    void changesAreToldOfTheRowsThatChanged()
    {
        JsonRowModel model(nameAndCount(), {"id"});
        model.setRows(rowsOf(R"([{"id":0},{"id":1},{"id":2},{"id":3},{"id":4}])"));
        QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
        model.setRows(rowsOf(R"([{"id":0},{"id":1,"x":1},{"id":2,"x":1},{"id":3},{"id":4,"x":1}])"));
        QStringList ranges;
        for (const QList<QVariant>& change : changes) {
            const auto from = change.at(0).toModelIndex();
            const auto to = change.at(1).toModelIndex();
            ranges.append(QString::asprintf("%d,%d to %d,%d", from.row(), from.column(), to.row(), to.column()));
        }
        QCOMPARE(ranges.join(u'|'), QStringLiteral("1,0 to 2,1|4,0 to 4,1"));
    }

    void withoutAnIdentityARowThatChangesIsAnother()
    {
        JsonRowModel model(nameAndCount());
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setRows(rowsOf(R"([{"name":"a"},{"name":"b"}])"));
        const QPersistentModelIndex first(model.index(0, 0));
        const QPersistentModelIndex second(model.index(1, 0));
        model.setRows(rowsOf(R"([{"name":"b"},{"name":"c"}])"));
        QVERIFY(!first.isValid());
        QCOMPARE(second.row(), 0);
        QVERIFY(model.rows() == rowsOf(R"([{"name":"b"},{"name":"c"}])"));
    }

    void tenThousandRowsAreAllThere()
    {
        std::vector<Json> rows(10'000, {{"name", "agent"}});
        rows.back()["count"] = 9'999;
        JsonRowModel model(nameAndCount());
        model.setRows(rows);
        QCOMPARE(model.rowCount(), 10'000);
        QCOMPARE(model.index(9'999, 1).data().toString(), QStringLiteral("9999"));
    }
};

QTEST_GUILESS_MAIN(TestJsonRowModel)
#include "TestJsonRowModel.moc"
