#include "ui/JsonRowModel.h"

#include "backend/BackendReply.h"
#include "support/CaseTable.h"
#include "support/TestCase.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

using Tester = QAbstractItemModelTester;

/// The rows of a reply as a table model, always under Qt's model tester.
class TestJsonRowModel final : public TestCase
{
    Q_OBJECT

private slots:
    void aNewModelHasColumnsAndNoRows()
    {
        const JsonRowModel model(nameAndCount());
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(model.columnCount(), 2);
        QCOMPARE(model.headerData(0, Qt::Horizontal).toString(), u"Name"_s);
        QCOMPARE(model.headerData(1, Qt::Horizontal).toString(), u"Count"_s);
        for (const int none : {-1, 2})
            QVERIFY(!model.headerData(none, Qt::Horizontal).isValid());
        QVERIFY(!model.headerData(0, Qt::Vertical).isValid());
    }

    void aCellShowsItsMember()
    {
        const CaseTable<QByteArray, QString> cases{
            {"a string as is", R"({"name":"agent"})", u"agent"_s},
            {"Chinese and an emoji", "{\"name\":\"代理🙂\"}", u"代理🙂"_s},
            {"an integer in decimal", R"({"name":-7})", u"-7"_s},
            {"a large integer exactly", R"({"name":18446744073709551615})", u"18446744073709551615"_s},
            {"a double in its shortest form", R"({"name":0.1})", u"0.1"_s},
            {"true as 1", R"({"name":true})", u"1"_s},
            {"null", R"({"name":null})", u"<null>"_s},
            {"a nested value as JSON", R"({"name":{"z":[1,"a"],"a":{}}})", uR"({"z":[1,"a"],"a":{}})"_s},
            {"nothing for a missing member", R"({"Name":"other case"})", {}},
            {"nothing for an empty row", "{}", {}},
            {"markup as it stands", R"({"name":"<b>x</b>&amp;"})", u"<b>x</b>&amp;"_s},
            {"bidirectional marks as they stand", R"({"name":"a\u202egnp.exe\u2066"})", u"a\u202egnp.exe\u2066"_s},
            {"every line break as a blank", R"({"name":"1\n2\r3\u000b4\u000c5\u00856\u20287\u20298"})",
             u"1 2 3 4 5 6 7 8"_s},
            {"a thousand characters in full", rowNamed(QByteArray(1000, 'x')), QString(1000, u'x')},
            {"ten thousand characters in full", rowNamed(QByteArray(10'000, 'x')), QString(10'000, u'x')},
        };
        for (const auto& [row, text] : cases) {
            JsonRowModel model(nameAndCount());
            const Tester tester(&model, Tester::FailureReportingMode::QtTest);
            model.setRows({Json::parse(row.toStdString())});
            QCOMPARE(model.index(0, 0).data().toString(), text);
            QVERIFY(!text.contains(QChar::ReplacementCharacter));
            QCOMPARE(model.rows().at(0).dump(), Json::parse(row.toStdString()).dump());
        }
    }

    void aColumnMayShowMoreThanItsMember()
    {
        const auto both = [](const Json& row) { return textOf(row, "name") + u'\n' + textOf(row, "count"); };
        JsonRowModel model({{"name", u"Name"_s, 180, both}});
        const Tester tester(&model, Tester::FailureReportingMode::QtTest);
        model.setRows(rowsOf(R"([{"name":"a","count":2}])"));
        QCOMPARE(model.index(0, 0).data().toString(), u"a 2"_s);
    }

    void aCellHasTextAndNothingElse()
    {
        JsonRowModel model(nameAndCount());
        model.setRows(rowsOf(R"([{"name":"a"}])"));
        const QModelIndex cell = model.index(0, 1);
        for (const int role : {Qt::CheckStateRole, Qt::ToolTipRole})
            QVERIFY(!model.index(0, 0).data(role).isValid());
        QVERIFY(!(model.flags(cell) & Qt::ItemIsEditable));
        QVERIFY(!model.data(QModelIndex()).isValid());
        QVERIFY(!model.index(1, 0).isValid());
        QVERIFY(!model.index(0, 2).isValid());
        model.setRows({});
        QVERIFY(!model.data(cell).isValid()); // an index whose row is removed
    }

    void rowsThatStayAreTheSameRows()
    {
        const CaseTable<QByteArray, QByteArray, QByteArray> cases{
            {"equal rows", R"([{"id":1,"x":[1.5,{"y":null}]},{"id":2}])", R"([{"id":1,"x":[1.5,{"y":null}]},{"id":2}])",
             "0 1"},
            {"no rows", "[]", "[]", ""},
            {"a changed value", R"([{"id":1,"name":"a"}])", R"([{"id":1,"name":"b"}])", "0"},
            {"a value that no column shows", R"([{"id":1}])", R"([{"id":1,"x":2}])", "0"},
            {"another order", R"([{"id":1},{"id":2},{"id":3}])", R"([{"id":3},{"id":1},{"id":2}])", "1 2 0"},
            {"one more in front", R"([{"id":1}])", R"([{"id":0},{"id":1}])", "1"},
            {"one more between", R"([{"id":1},{"id":3}])", R"([{"id":1},{"id":2},{"id":3}])", "0 2"},
            {"one less", R"([{"id":1},{"id":2},{"id":3}])", R"([{"id":1},{"id":3}])", "0 - 1"},
            {"none left", R"([{"id":1},{"id":2}])", "[]", "- -"},
            {"all new", R"([{"id":1},{"id":2}])", R"([{"id":3},{"id":4}])", "- -"},
            {"the first changed and one more behind", R"([{"id":1},{"id":2}])", R"([{"id":1,"x":1},{"id":2},{"id":3}])",
             "0 1"},
            {"the first changed and one less behind", R"([{"id":1},{"id":2},{"id":3}])",
             R"([{"id":1,"x":1},{"id":3,"x":1}])", "0 - 1"},
            {"everything at once", R"([{"id":1},{"id":2},{"id":3},{"id":4}])",
             R"([{"id":9},{"id":4,"name":"x"},{"id":8},{"id":7},{"id":2},{"id":6}])", "- 4 - 1"},
            {"equal rows that change places are told apart", R"([{"id":1,"name":"a"},{"id":1,"name":"b"}])",
             R"([{"id":1,"name":"b"},{"id":1,"name":"a"}])", "1 0"},
            {"rows with one identity keep their order", R"([{"id":1},{"id":1}])", R"([{"id":1,"x":1},{"id":1,"x":2}])",
             "0 1"},
            {"rows that lack an identity have the same", R"([{"name":"a"},{}])", R"([{"id":1},{"name":"b"}])", "1 -"},
            {"a number is not its text", R"([{"id":1}])", R"([{"id":"1"}])", "-"},
        };
        for (const auto& [before, after, places] : cases) {
            JsonRowModel model(nameAndCount(), {"id"});
            const Tester tester(&model, Tester::FailureReportingMode::QtTest);
            const QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
            model.setRows(rowsOf(before));
            const QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
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
            QVERIFY(before != after || changes.isEmpty());
        }
    }

    void withoutAnIdentityARowThatChangesIsAnother()
    {
        JsonRowModel model(nameAndCount());
        const Tester tester(&model, Tester::FailureReportingMode::QtTest);
        model.setRows(rowsOf(R"([{"name":"a"},{"name":"b"}])"));
        const QPersistentModelIndex first(model.index(0, 0));
        const QPersistentModelIndex second(model.index(1, 0));
        model.setRows(rowsOf(R"([{"name":"b"},{"name":"c"}])"));
        QVERIFY(!first.isValid());
        QCOMPARE(second.row(), 0);
    }

    void changesAreSignalledForTheChangedRows()
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
        QCOMPARE(ranges.join(u'|'), u"1,0 to 2,1|4,0 to 4,1"_s);
    }

private:
    static std::vector<JsonColumn> nameAndCount() { return {{"name", u"Name"_s, 180}, {"count", u"Count"_s, 60}}; }

    static QByteArray rowNamed(const QByteArray& name) { return "{\"name\":\"" + name + "\"}"; }

    static std::vector<Json> rowsOf(const QByteArray& reply) { return BackendReply(reply.toStdString()).rows(); }
};

QTEST_GUILESS_MAIN(TestJsonRowModel)
#include "TestJsonRowModel.moc"
