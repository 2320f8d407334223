#include "models/core/ModelReports.h"

#include "backend/BackendReply.h"
#include "models/ModelColumns.h"
#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// What the Models tab shows of the backend's replies.
class TestModelReports final : public TestCase
{
    Q_OBJECT

private slots:
    void theCatalogueIsShownOrIsEmpty()
    {
        const QString loaded = u"Loaded remote model catalog."_s;
        const CaseTable<std::string, int, QString> cases{
            {"models", R"([{"name":"a"},{"name":"b"}])", 2, loaded},
            {"none", "[]", 0, loaded},
            {"an object is no list", R"({"name":"a"})", 0, loaded},
            {"a list of texts has no rows", R"(["a"])", 0, loaded},
            {"a list that holds one text has none either", R"([{"name":"a"},"b"])", 0, loaded},
            {"not JSON", "oops", 0, loaded},
            {"not UTF-8", "[{\"name\":\"\xe9\"}]", 0, loaded},
            {"an error is told in full", "ERROR: 没有 <server>", 0, u"ERROR: 没有 <server>"_s},
            {"an error without a blank is one", "ERROR:x", 0, u"ERROR:x"_s},
        };
        for (const auto& [reply, rows, status] : cases) {
            const RemoteModelsReport report = remoteModelsReport(BackendReply(reply));
            QCOMPARE(static_cast<int>(report.rows.size()), rows);
            QCOMPARE(report.status, status);
        }
    }

    void localModelsAndTasksAreShownTogether()
    {
        const std::string two = R"([{"name":"a"},{"name":"b"}])";
        const std::string one = R"([{"id":"1"}])";
        const QString nothing = u"Local: 0  Tasks: 0"_s;
        const QString loaded = u"Loaded local models and tasks."_s;
        const CaseTable<std::string, std::string, QString, QString> cases{
            {"both are counted", two, one, u"Local: 2  Tasks: 1"_s, loaded},
            {"both are empty", "[]", "[]", nothing, loaded},
            {"one that is no list leaves the other", "{}", one, u"Local: 0  Tasks: 1"_s, loaded},
            {"the other way round", two, "oops", u"Local: 2  Tasks: 0"_s, loaded},
            {"an error of the tasks empties both", two, "ERROR: tasks", nothing, u"ERROR: tasks"_s},
            {"an error of the models empties both", "ERROR: models", one, nothing, u"ERROR: models"_s},
            {"of two errors the models' is told", "ERROR: models", "ERROR: tasks", nothing, u"ERROR: models"_s},
        };
        for (const auto& [local, tasks, summary, status] : cases) {
            const LocalModelsReport report = localModelsReport(BackendReply(local), BackendReply(tasks));
            QCOMPARE(u"Local: %1  Tasks: %2"_s.arg(report.localRows.size()).arg(report.taskRows.size()), summary);
            QCOMPARE(report.summary, summary);
            QCOMPARE(report.status, status);
        }
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

    void aCellTellsItsValue()
    {
        constexpr int name = 0;
        constexpr int installed = 3;
        constexpr int tags = 4;
        const CaseTable<std::string, int, QString> cases{
            {"tags with commas", R"({"tags":["qwen3","chat"]})", tags, u"qwen3,chat"_s},
            {"one tag", "{\"tags\":[\"对话\"]}", tags, u"对话"_s},
            {"no tags", R"({"tags":[]})", tags, {}},
            {"tags that are not all texts, as JSON", R"({"tags":["a",1]})", tags, u"[\"a\",1]"_s},
            {"tags that are a text", R"({"tags":"a"})", tags, u"a"_s},
            {"tags that are an object, as JSON", R"({"tags":{"a":"b"}})", tags, QStringLiteral(R"({"a":"b"})")},
            {"tags that are null", R"({"tags":null})", tags, u"<null>"_s},
            {"missing tags", "{}", tags, {}},
            {"true as yes", R"({"installed":true})", installed, u"yes"_s},
            {"false as no", R"({"installed":false})", installed, u"no"_s},
            {"a number as it is", R"({"installed":1})", installed, u"1"_s},
            {"a text as it is", R"({"installed":"true"})", installed, u"true"_s},
            {"missing, as nothing", "{}", installed, {}},
            {"a boolean elsewhere by its text", R"({"name":true})", name, u"1"_s},
            {"a list elsewhere as JSON", R"({"name":["a","b"]})", name, QStringLiteral(R"(["a","b"])")},
        };
        for (const auto& [row, column, text] : cases) {
            JsonRowModel model(ModelColumns::remoteModels());
            model.setRows({Json::parse(row)});
            QCOMPARE(model.index(0, column).data().toString(), text);
        }
    }
};

QTEST_GUILESS_MAIN(TestModelReports)
#include "TestModelReports.moc"
