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
        QVERIFY(model.setRows(rowsOf(R"([{"name":"b"},{"name":"a"},{"name":"b"}])")));
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
        QTest::newRow("ten thousand characters cut") << rowNamed(QByteArray(10'000, 'x')) << QString(1000, u'x') + u'…';
        QTest::newRow("a megabyte cut") << rowNamed(QByteArray(R"(\n)").repeated(1'000'000))
                                        << QString(1000, u' ') + u'…';
        QTest::newRow("no character cut in half")
            << rowNamed(QByteArray(999, 'x') + QByteArray("🙂🙂")) << QString(999, u'x') + u'…';
    }

    void aCellShowsItsMember()
    {
        QFETCH(QByteArray, row);
        QFETCH(QString, text);
        JsonRowModel model(nameAndCount());
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QVERIFY(model.setRows({Json::parse(row.toStdString())}));
        QCOMPARE(model.index(0, 0).data().toString(), text);
        QVERIFY(!text.contains(replacement));
    }

    void aColumnMayShowMoreThanItsMember()
    {
        const auto both = [](const Json& row) { return textOf(row, "name") + u'\n' + textOf(row, "count"); };
        JsonRowModel model({{"name", QStringLiteral("Name"), 180, both}});
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QVERIFY(model.setRows(rowsOf(R"([{"name":"a","count":2}])")));
        QCOMPARE(model.index(0, 0).data().toString(), QStringLiteral("a 2"));
    }

    void aCellHasNothingButText()
    {
        JsonRowModel model(nameAndCount());
        QVERIFY(model.setRows(rowsOf(R"([{"name":"a"}])")));
        QVERIFY(!model.index(0, 0).data(Qt::CheckStateRole).isValid());
        QVERIFY(!model.index(0, 0).data(Qt::ToolTipRole).isValid());
        QVERIFY(!(model.flags(model.index(0, 0)) & Qt::ItemIsEditable));
    }

    void aRowIsKeptAsItCame()
    {
        const std::string row = R"({"z":1.0,"name":"line\nbreak","a":{"deep":[null]},"big":9007199254740993})";
        JsonRowModel model(nameAndCount());
        QVERIFY(model.setRows({Json::parse(row)}));
        QCOMPARE(model.rows().at(0).dump(), row);
    }

    void whereThereIsNoCellThereIsNoText()
    {
        JsonRowModel model(nameAndCount());
        QVERIFY(model.setRows(rowsOf(R"([{"name":"a"}])")));
        const QModelIndex cell = model.index(0, 1);
        QVERIFY(!model.data(QModelIndex()).isValid());
        QVERIFY(!model.index(1, 0).isValid());
        QVERIFY(!model.index(0, 2).isValid());
        QVERIFY(model.setRows({}));
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
        const QSignalSpy aboutToBeReset(&model, &QAbstractItemModel::modelAboutToBeReset);
        const QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
        QVERIFY(!model.setRows(rowsOf(reply)));
        QCOMPARE(aboutToBeReset.count() + reset.count(), 0);
    }

    void otherRowsResetTheModelOnce_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("after");
        QTest::newRow("a value") << QByteArray(R"([{"name":"a"}])") << QByteArray(R"([{"name":"b"}])");
        QTest::newRow("a value that no column shows") << QByteArray(R"([{"x":1}])") << QByteArray(R"([{"x":2}])");
        QTest::newRow("the order") << QByteArray(R"([{"name":"a"},{"name":"b"}])")
                                   << QByteArray(R"([{"name":"b"},{"name":"a"}])");
        QTest::newRow("one more") << QByteArray(R"([{"name":"a"}])") << QByteArray(R"([{"name":"a"},{"name":"a"}])");
        QTest::newRow("none left") << QByteArray(R"([{"name":"a"}])") << QByteArray("[]");
    }

    void otherRowsResetTheModelOnce()
    {
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, after);
        JsonRowModel model(nameAndCount());
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setRows(rowsOf(before));
        const QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
        QVERIFY(model.setRows(rowsOf(after)));
        QCOMPARE(reset.count(), 1);
        QVERIFY(model.rows() == rowsOf(after));
    }

    void tenThousandRowsAreAllThere()
    {
        std::vector<Json> rows(10'000, {{"name", "agent"}});
        rows.back()["count"] = 9'999;
        JsonRowModel model(nameAndCount());
        QVERIFY(model.setRows(rows));
        QCOMPARE(model.rowCount(), 10'000);
        QCOMPARE(model.index(9'999, 1).data().toString(), QStringLiteral("9999"));
    }
};

QTEST_GUILESS_MAIN(TestJsonRowModel)
#include "TestJsonRowModel.moc"
