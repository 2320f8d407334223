#include "models/core/ModelReports.h"

#include "backend/BackendReply.h"
#include "models/ModelColumns.h"
#include "support/Warnings.h"

#include <QTest>

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
        const QString loaded = QStringLiteral("Loaded remote model catalog.");
        QTest::newRow("models") << QByteArray(R"([{"name":"a"},{"name":"b"}])") << 2 << loaded;
        QTest::newRow("none") << QByteArray("[]") << 0 << loaded;
        QTest::newRow("an object is no list") << QByteArray(R"({"name":"a"})") << 0 << loaded;
        QTest::newRow("a list of texts has no rows") << QByteArray(R"(["a"])") << 0 << loaded;
        QTest::newRow("a list that holds one text has none either")
            << QByteArray(R"([{"name":"a"},"b"])") << 0 << loaded;
        QTest::newRow("not JSON") << QByteArray("oops") << 0 << loaded;
        QTest::newRow("not UTF-8") << QByteArray("[{\"name\":\"\xe9\"}]") << 0 << loaded;
        QTest::newRow("an error is told in full")
            << QByteArray("ERROR: 没有 <server>") << 0 << QStringLiteral("ERROR: 没有 <server>");
        QTest::newRow("an error without a blank is one") << QByteArray("ERROR:x") << 0 << QStringLiteral("ERROR:x");
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
        const QString nothing = QStringLiteral("Local: 0  Tasks: 0");
        const QString loaded = QStringLiteral("Loaded local models and tasks.");

        QTest::newRow("both are counted") << two << one << QStringLiteral("Local: 2  Tasks: 1") << loaded;
        QTest::newRow("both are empty") << QByteArray("[]") << QByteArray("[]") << nothing << loaded;
        QTest::newRow("one that is no list leaves the other")
            << QByteArray("{}") << one << QStringLiteral("Local: 0  Tasks: 1") << loaded;
        QTest::newRow("the other way round")
            << two << QByteArray("oops") << QStringLiteral("Local: 2  Tasks: 0") << loaded;
        QTest::newRow("an error of the tasks empties both")
            << two << QByteArray("ERROR: tasks") << nothing << QStringLiteral("ERROR: tasks");
        QTest::newRow("an error of the models empties both")
            << QByteArray("ERROR: models") << one << nothing << QStringLiteral("ERROR: models");
        QTest::newRow("of two errors the models' is told")
            << QByteArray("ERROR: models") << QByteArray("ERROR: tasks") << nothing << QStringLiteral("ERROR: models");
    }

    void localModelsAndTasksAreShownTogether()
    {
        QFETCH(QByteArray, local);
        QFETCH(QByteArray, tasks);
        QFETCH(QString, summary);
        QFETCH(QString, status);
        const LocalModelsReport report =
            localModelsReport(BackendReply(local.toStdString()), BackendReply(tasks.toStdString()));
        QCOMPARE(QStringLiteral("Local: %1  Tasks: %2").arg(report.localRows.size()).arg(report.taskRows.size()),
                 summary);
        QCOMPARE(report.summary, summary);
        QCOMPARE(report.status, status);
    }

    void columnsStandInOrderAtTheirWidths()
    {
        const auto described = [](const std::vector<JsonColumn>& columns) {
            QStringList texts;
            for (const JsonColumn& column : columns)
                texts.append(QStringLiteral("%1 %2 %3").arg(QLatin1String(column.key), column.title).arg(column.width));
            return texts.join(QStringLiteral(", "));
        };
        QCOMPARE(described(ModelColumns::remoteModels()),
                 QStringLiteral("name Model 220, provider Provider 100, size Size 90, installed Installed 90, "
                                "tags Tags 220"));
        QCOMPARE(described(ModelColumns::localModels()),
                 QStringLiteral("name Model 220, size Size 100, modifiedAt Updated 180"));
        QCOMPARE(described(ModelColumns::downloadTasks()),
                 QStringLiteral("id Task ID 120, model Model 160, status Status 90, updatedAt Updated 180, "
                                "lastLine Last Log 260"));
    }

    void aCellTellsItsValue_data()
    {
        QTest::addColumn<QByteArray>("row");
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("text");
        constexpr int name = 0;
        constexpr int installed = 3;
        constexpr int tags = 4;

        QTest::newRow("tags with commas")
            << QByteArray(R"({"tags":["qwen3","chat"]})") << tags << QStringLiteral("qwen3,chat");
        QTest::newRow("one tag") << QByteArray("{\"tags\":[\"对话\"]}") << tags << QStringLiteral("对话");
        QTest::newRow("no tags") << QByteArray(R"({"tags":[]})") << tags << QString();
        QTest::newRow("tags that are not all texts, as JSON")
            << QByteArray(R"({"tags":["a",1]})") << tags << QStringLiteral("[\"a\",1]");
        QTest::newRow("tags that are a text") << QByteArray(R"({"tags":"a"})") << tags << QStringLiteral("a");
        QTest::newRow("tags that are an object, as JSON")
            << QByteArray(R"({"tags":{"a":"b"}})") << tags << QStringLiteral(R"({"a":"b"})");
        QTest::newRow("tags that are null") << QByteArray(R"({"tags":null})") << tags << QStringLiteral("<null>");
        QTest::newRow("missing tags") << QByteArray("{}") << tags << QString();
        QTest::newRow("true as yes") << QByteArray(R"({"installed":true})") << installed << QStringLiteral("yes");
        QTest::newRow("false as no") << QByteArray(R"({"installed":false})") << installed << QStringLiteral("no");
        QTest::newRow("a number as it is") << QByteArray(R"({"installed":1})") << installed << QStringLiteral("1");
        QTest::newRow("a text as it is") << QByteArray(R"({"installed":"true"})") << installed
                                         << QStringLiteral("true");
        QTest::newRow("missing, as nothing") << QByteArray("{}") << installed << QString();
        QTest::newRow("a boolean elsewhere by its text")
            << QByteArray(R"({"name":true})") << name << QStringLiteral("1");
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
