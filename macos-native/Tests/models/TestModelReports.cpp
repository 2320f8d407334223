#include "models/core/ModelReports.h"

#include "backend/BackendReply.h"
#include "models/ModelColumns.h"
#include "support/Warnings.h"

#include <QTest>

using namespace Qt::StringLiterals;

/// What the Models tab shows of the backend's replies.
class TestModelReports final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void theCatalogueIsShownOrIsEmpty_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<int>("rows");
        QTest::addColumn<QString>("status");
        const QString loaded = u"Loaded remote model catalog."_s;
        QTest::newRow("models") << QByteArray(R"([{"name":"a"},{"name":"b"}])") << 2 << loaded;
        QTest::newRow("none") << "[]"_ba << 0 << loaded;
        QTest::newRow("an object is no list") << QByteArray(R"({"name":"a"})") << 0 << loaded;
        QTest::newRow("a list of texts has no rows") << QByteArray(R"(["a"])") << 0 << loaded;
        QTest::newRow("a list that holds one text has none either")
            << QByteArray(R"([{"name":"a"},"b"])") << 0 << loaded;
        QTest::newRow("not JSON") << "oops"_ba << 0 << loaded;
        QTest::newRow("not UTF-8") << "[{\"name\":\"\xe9\"}]"_ba << 0 << loaded;
        QTest::newRow("an error is told in full") << "ERROR: 没有 <server>"_ba << 0 << u"ERROR: 没有 <server>"_s;
        QTest::newRow("an error without a blank is one") << "ERROR:x"_ba << 0 << u"ERROR:x"_s;
    }

    void theCatalogueIsShownOrIsEmpty()
    {
        QFETCH(QByteArray, reply);
        QFETCH(int, rows);
        QFETCH(QString, status);
        const RemoteModelsReport report = remoteModelsReport(BackendReply(reply.toStdString()));
        QCOMPARE(static_cast<int>(report.rows.size()), rows);
        QCOMPARE(report.status, status);
    }

    void localModelsAndTasksAreShownTogether_data()
    {
        QTest::addColumn<QByteArray>("local");
        QTest::addColumn<QByteArray>("tasks");
        QTest::addColumn<QString>("summary");
        QTest::addColumn<QString>("status");
        const QByteArray two(R"([{"name":"a"},{"name":"b"}])");
        const QByteArray one(R"([{"id":"1"}])");
        const QString nothing = u"Local: 0  Tasks: 0"_s;
        const QString loaded = u"Loaded local models and tasks."_s;

        QTest::newRow("both are counted") << two << one << u"Local: 2  Tasks: 1"_s << loaded;
        QTest::newRow("both are empty") << "[]"_ba
                                        << "[]"_ba << nothing << loaded;
        QTest::newRow("one that is no list leaves the other") << "{}"_ba << one << u"Local: 0  Tasks: 1"_s << loaded;
        QTest::newRow("the other way round") << two << "oops"_ba << u"Local: 2  Tasks: 0"_s << loaded;
        QTest::newRow("an error of the tasks empties both") << two << "ERROR: tasks"_ba << nothing << u"ERROR: tasks"_s;
        QTest::newRow("an error of the models empties both")
            << "ERROR: models"_ba << one << nothing << u"ERROR: models"_s;
        QTest::newRow("of two errors the models' is told") << "ERROR: models"_ba
                                                           << "ERROR: tasks"_ba << nothing << u"ERROR: models"_s;
    }

    void localModelsAndTasksAreShownTogether()
    {
        QFETCH(QByteArray, local);
        QFETCH(QByteArray, tasks);
        QFETCH(QString, summary);
        QFETCH(QString, status);
        const LocalModelsReport report =
            localModelsReport(BackendReply(local.toStdString()), BackendReply(tasks.toStdString()));
        QCOMPARE(u"Local: %1  Tasks: %2"_s.arg(report.localRows.size()).arg(report.taskRows.size()), summary);
        QCOMPARE(report.summary, summary);
        QCOMPARE(report.status, status);
    }

    void columnsStandInOrderAtTheirWidths()
    {
        const auto described = [](const std::vector<JsonColumn>& columns) {
            QStringList texts;
            for (const JsonColumn& column : columns)
                texts.append(u"%1 %2 %3"_s.arg(QLatin1String(column.key), column.title).arg(column.width));
            return texts.join(u", "_s);
        };
        QCOMPARE(described(ModelColumns::remoteModels()),
                 u"name Model 220, provider Provider 100, size Size 90, installed Installed 90, "
                 "tags Tags 220"_s);
        QCOMPARE(described(ModelColumns::localModels()), u"name Model 220, size Size 100, modifiedAt Updated 180"_s);
        QCOMPARE(described(ModelColumns::downloadTasks()),
                 u"id Task ID 120, model Model 160, status Status 90, updatedAt Updated 180, "
                 "lastLine Last Log 260"_s);
    }

    void aCellTellsItsValue_data()
    {
        QTest::addColumn<QByteArray>("row");
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("text");
        constexpr int name = 0;
        constexpr int installed = 3;
        constexpr int tags = 4;

        QTest::newRow("tags with commas") << QByteArray(R"({"tags":["qwen3","chat"]})") << tags << u"qwen3,chat"_s;
        QTest::newRow("one tag") << "{\"tags\":[\"对话\"]}"_ba << tags << u"对话"_s;
        QTest::newRow("no tags") << QByteArray(R"({"tags":[]})") << tags << QString();
        QTest::newRow("tags that are not all texts, as JSON")
            << QByteArray(R"({"tags":["a",1]})") << tags << u"[\"a\",1]"_s;
        QTest::newRow("tags that are a text") << QByteArray(R"({"tags":"a"})") << tags << u"a"_s;
        QTest::newRow("tags that are an object, as JSON")
            << QByteArray(R"({"tags":{"a":"b"}})") << tags << QStringLiteral(R"({"a":"b"})");
        QTest::newRow("tags that are null") << QByteArray(R"({"tags":null})") << tags << u"<null>"_s;
        QTest::newRow("missing tags") << "{}"_ba << tags << QString();
        QTest::newRow("true as yes") << QByteArray(R"({"installed":true})") << installed << u"yes"_s;
        QTest::newRow("false as no") << QByteArray(R"({"installed":false})") << installed << u"no"_s;
        QTest::newRow("a number as it is") << QByteArray(R"({"installed":1})") << installed << u"1"_s;
        QTest::newRow("a text as it is") << QByteArray(R"({"installed":"true"})") << installed << u"true"_s;
        QTest::newRow("missing, as nothing") << "{}"_ba << installed << QString();
        QTest::newRow("a boolean elsewhere by its text") << QByteArray(R"({"name":true})") << name << u"1"_s;
        QTest::newRow("a list elsewhere as JSON")
            << QByteArray(R"({"name":["a","b"]})") << name << QStringLiteral(R"(["a","b"])");
    }

    void aCellTellsItsValue()
    {
        QFETCH(QByteArray, row);
        QFETCH(int, column);
        QFETCH(QString, text);
        JsonRowModel model(ModelColumns::remoteModels());
        model.setRows({Json::parse(row.toStdString())});
        QCOMPARE(model.index(0, column).data().toString(), text);
    }
};

QTEST_GUILESS_MAIN(TestModelReports)
#include "TestModelReports.moc"
