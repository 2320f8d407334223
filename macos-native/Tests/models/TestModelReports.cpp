#include "models/core/ModelReports.h"

#include "backend/BackendReply.h"
#include "models/ModelColumns.h"
#include "support/Cases.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// What the Models tab shows of the backend's replies.
class TestModelReports final : public TestCase
{
    Q_OBJECT

private slots:
    void theCatalogueIsShownOrIsEmpty_data()
    {
        const Cases<QByteArray, int, QString> add("reply", "rows", "status");

        const QString loaded = u"Loaded remote model catalog."_s;
        add("models", R"([{"name":"a"},{"name":"b"}])", 2, loaded);
        add("none", "[]", 0, loaded);
        add("an object is no list", R"({"name":"a"})", 0, loaded);
        add("a list of texts has no rows", R"(["a"])", 0, loaded);
        add("a list that holds one text has none either", R"([{"name":"a"},"b"])", 0, loaded);
        add("not JSON", "oops", 0, loaded);
        add("not UTF-8", "[{\"name\":\"\xe9\"}]", 0, loaded);
        add("an error is told in full", "ERROR: 没有 <server>", 0, u"ERROR: 没有 <server>"_s);
        add("an error without a blank is one", "ERROR:x", 0, u"ERROR:x"_s);
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
        const Cases<QByteArray, QByteArray, QString, QString> add("local", "tasks", "summary", "status");

        const QByteArray two(R"([{"name":"a"},{"name":"b"}])");
        const QByteArray one(R"([{"id":"1"}])");
        const QString nothing = u"Local: 0  Tasks: 0"_s;
        const QString loaded = u"Loaded local models and tasks."_s;
        add("both are counted", two, one, u"Local: 2  Tasks: 1"_s, loaded);
        add("both are empty", "[]", "[]", nothing, loaded);
        add("one that is no list leaves the other", "{}", one, u"Local: 0  Tasks: 1"_s, loaded);
        add("the other way round", two, "oops", u"Local: 2  Tasks: 0"_s, loaded);
        add("an error of the tasks empties both", two, "ERROR: tasks", nothing, u"ERROR: tasks"_s);
        add("an error of the models empties both", "ERROR: models", one, nothing, u"ERROR: models"_s);
        add("of two errors the models' is told", "ERROR: models", "ERROR: tasks", nothing, u"ERROR: models"_s);
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
        const Cases<QByteArray, int, QString> add("row", "column", "text");

        constexpr int name = 0;
        constexpr int installed = 3;
        constexpr int tags = 4;
        add("tags with commas", R"({"tags":["qwen3","chat"]})", tags, u"qwen3,chat"_s);
        add("one tag", "{\"tags\":[\"对话\"]}", tags, u"对话"_s);
        add("no tags", R"({"tags":[]})", tags, {});
        add("tags that are not all texts, as JSON", R"({"tags":["a",1]})", tags, u"[\"a\",1]"_s);
        add("tags that are a text", R"({"tags":"a"})", tags, u"a"_s);
        add("tags that are an object, as JSON", R"({"tags":{"a":"b"}})", tags, QStringLiteral(R"({"a":"b"})"));
        add("tags that are null", R"({"tags":null})", tags, u"<null>"_s);
        add("missing tags", "{}", tags, {});
        add("true as yes", R"({"installed":true})", installed, u"yes"_s);
        add("false as no", R"({"installed":false})", installed, u"no"_s);
        add("a number as it is", R"({"installed":1})", installed, u"1"_s);
        add("a text as it is", R"({"installed":"true"})", installed, u"true"_s);
        add("missing, as nothing", "{}", installed, {});
        add("a boolean elsewhere by its text", R"({"name":true})", name, u"1"_s);
        add("a list elsewhere as JSON", R"({"name":["a","b"]})", name, QStringLiteral(R"(["a","b"])"));
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
