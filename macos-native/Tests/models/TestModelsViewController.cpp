#include "models/ModelsViewController.h"

#include "support/CaseTable.h"
#include "support/DialogRobot.h"
#include "support/TabFixture.h"
#include "support/TestCase.h"
#include "support/UnreadReplies.h"
#include "ui/FlowLayout.h"
#include "ui/JsonTable.h"

#include <QApplication>
#include <QGroupBox>
#include <QPointer>
#include <QTimer>

using namespace Qt::StringLiterals;

using Calls = std::vector<ScriptedBackend::Call>;

namespace {

class ModelsTab final : public TabFixture<ModelsViewController>
{
public:
    ModelsTab()
    {
        backend.answer("list_remote_models",
                       {{{"name", "qwen3:8b"}, {"provider", "阿里"}, {"installed", true}, {"tags", {"qwen3", "chat"}}},
                        {{"name", "other"}, {"installed", false}}});
        backend.answer("list_local_models", Json::array({{{"name", "qwen3:8b"}, {"size", "5.2 GB"}}}));
        backend.answer("list_model_download_tasks", {{{"id", "1"}, {"status", "running"}}, {{"id", "2"}}});
        backend.answer("start_model_download", Json::object());
        backend.answer("cancel_model_download", Json::object());
    }

    JsonTable* table(const char* name) { return find<JsonTable>(name); }
    QString summary() { return label("localSummaryLabel"); }
};

} // namespace

/// The Models tab on the real helper.
class TestModelsViewController final : public TestCase
{
    Q_OBJECT

private slots:
    void loadsItsListsOnceInOrder()
    {
        m_tab->view();
        const Json none = Json::array();
        const Calls loads{
            {"list_remote_models", none}, {"list_local_models", none}, {"list_model_download_tasks", none}};
        QCOMPARE(m_tab->backend.calls(), loads);
        QCOMPARE(rowCounts(), QList<int>({2, 1, 2}));
        QCOMPARE(m_tab->table("remoteTable")->model()->index(0, 4).data().toString(), u"qwen3,chat"_s);
        QCOMPARE(m_tab->summary(), u"Local: 1  Tasks: 2"_s);
        QCOMPARE(m_tab->status(), u"Loaded local models and tasks."_s);
        m_tab->show();
        QCOMPARE(m_tab->backend.calls(), loads);
    }

    void anErrorLeavesTheListsOfTheOtherButton()
    {
        m_tab->view();
        m_tab->backend.raise("list_remote_models", "OSError", "no <b>catalogue</b>");
        m_tab->press("Refresh Remote");
        QCOMPARE(rowCounts(), QList<int>({0, 1, 2}));
        QCOMPARE(m_tab->status(), u"ERROR: OSError: no <b>catalogue</b>"_s);
        QCOMPARE(m_tab->backend.calls().size(), 4U);

        m_tab->backend.answer("list_remote_models", Json::array({{{"name", "a"}}}));
        m_tab->press("Refresh Remote");
        m_tab->backend.raise("list_local_models", "OSError", "no models");
        m_tab->press("Refresh Local/Tasks");
        QCOMPARE(rowCounts(), QList<int>({1, 0, 0}));
        QCOMPARE(m_tab->summary(), u"Local: 0  Tasks: 0"_s);
        QCOMPARE(m_tab->status(), u"ERROR: OSError: no models"_s);
        QCOMPARE(m_tab->backend.count("list_model_download_tasks"), 2); // asked all the same
    }

    void selectionAndWidthsStayAcrossARefresh()
    {
        m_tab->view();
        m_tab->table("remoteTable")->selectRow(1);
        m_tab->table("remoteTable")->setColumnWidth(0, 111);
        m_tab->table("localTable")->selectRow(0);
        m_tab->table("taskTable")->selectRow(1);
        m_tab->backend.answer("list_remote_models", {{{"name", "new"}}, {{"name", "qwen3:8b"}}, {{"name", "other"}}});
        m_tab->backend.answer("list_local_models", {{{"name", "new"}}, {{"name", "qwen3:8b"}}});
        m_tab->backend.answer("list_model_download_tasks", {{{"id", "2"}, {"status", "done"}}, {{"id", "1"}}});
        m_tab->press("Refresh Remote");
        m_tab->press("Refresh Local/Tasks");
        QCOMPARE(m_tab->table("remoteTable")->currentIndex().row(), 2);
        QCOMPARE(m_tab->table("remoteTable")->columnWidth(0), 111);
        QCOMPARE(m_tab->table("localTable")->currentIndex().row(), 1);
        QCOMPARE(m_tab->table("taskTable")->currentIndex().row(), 0);
    }

    void anActionIsToldAndTheListsAreLoaded()
    {
        const CaseTable<const char*, const char*, const char*, QString, QString> cases{
            {"a download", "Download Selected", "start_model_download", "qwen3:8b",
             u"Submitted download for qwen3:8b"_s, u"Download Failed"_s},
            {"a cancellation", "Cancel Task", "cancel_model_download", "2", u"Cancelled task 2"_s, u"Cancel Failed"_s},
        };
        for (const auto& [button, function, argument, told, failed] : cases) {
            restart();
            selectOfEach();
            DialogRobot robot({DialogRobot::press(u"OK"_s)});
            m_tab->backend.raise(function, "RuntimeError", "服务器 <b>gone</b>");
            m_tab->press(button);
            QCOMPARE(robot.shown().size(), 1U);
            QCOMPARE(robot.shown().at(0).title, failed);
            QCOMPARE(robot.shown().at(0).text, u"ERROR: RuntimeError: 服务器 <b>gone</b>"_s);
            QCOMPARE(m_tab->backend.calls().size(), 4U); // no refresh
            QCOMPARE(m_tab->status(), u"Loaded local models and tasks."_s);

            m_tab->backend.answer(function, Json::object());
            m_tab->backend.answer("list_model_download_tasks", Json::array({{{"id", "9"}}}));
            const QString said = m_tab->backend.seenDuring(
                "list_local_models", Json::array(), [this] { return m_tab->status(); },
                [this, press = button] { m_tab->press(press); });
            QCOMPARE(said, told);
            const Calls calls = m_tab->backend.calls();
            QCOMPARE(calls.size(), 7U);
            QCOMPARE(calls.at(4), (ScriptedBackend::Call{function, Json::array({argument})}));
            QCOMPARE(calls.at(5).function, std::string("list_local_models"));
            QCOMPARE(calls.at(6).function, std::string("list_model_download_tasks"));
            QCOMPARE(m_tab->status(), u"Loaded local models and tasks."_s);
            QCOMPARE(rowCounts(), QList<int>({2, 0, 1}));
            QCOMPARE(robot.shown().size(), 1U);
        }
    }

    void ofAnAnswerOnlyItsSuccessCounts_data() { addUnreadReplies(); }

    void ofAnAnswerOnlyItsSuccessCounts()
    {
        QFETCH(Json, reply);
        m_tab->backend.answer("start_model_download", reply);
        m_tab->backend.answer("cancel_model_download", reply);
        selectOfEach();
        const DialogRobot robot;
        m_tab->press("Download Selected");
        m_tab->press("Cancel Task");
        QVERIFY(robot.shown().empty());
        QCOMPARE(m_tab->backend.count("list_local_models"), 3);
    }

    void anUnusableNameIsNoSelection()
    {
        const CaseTable<std::string> cases{
            {"no row at all", ""},
            {"empty", R"({"name":"","id":""})"},
            {"a number", R"({"name":7,"id":7})"},
            {"null", R"({"name":null,"id":null})"},
            {"missing", R"({"other":1})"},
        };
        for (const auto& [row] : cases) {
            restart();
            if (row.empty()) {
                m_tab->table("localTable")->selectRow(0); // the other tables' selections do not count
            } else {
                for (const char* list : {"list_remote_models", "list_model_download_tasks"})
                    m_tab->backend.answer(list, Json::array({Json::parse(row)}));
                m_tab->table("remoteTable")->selectRow(0);
                m_tab->table("taskTable")->selectRow(0);
            }
            const DialogRobot robot({DialogRobot::press(Qt::Key_Escape), DialogRobot::press(Qt::Key_Return)});
            m_tab->press("Download Selected");
            m_tab->press("Cancel Task");
            QCOMPARE(robot.titles(), QStringList({u"No Selection"_s, u"No Selection"_s}));
            QCOMPARE(robot.shown().at(0).text, u"Select a remote model first."_s);
            QCOMPARE(robot.shown().at(1).text, u"Select a task first."_s);
            QCOMPARE(m_tab->backend.calls().size(), 3U);
        }
    }

    void aTabThatGoesUnderItsAlertDoesNoHarm()
    {
        m_tab->show();
        const QPointer<ModelsViewController> view(&m_tab->view());
        const DialogRobot robot({[this](QDialog& dialog) {
            m_tab->discardView();
            DialogRobot::press(u"OK"_s)(dialog);
        }});
        QTimer::singleShot(0, view, &ModelsViewController::downloadSelected);
        QTRY_VERIFY(!view);
        QTRY_VERIFY(!QApplication::activeModalWidget());
        QCOMPARE(robot.shown().size(), 1U);
    }

    void theViewIsLaidOutAsGiven()
    {
        m_tab->show();
        for (const QSize size : {QSize(1000, 600), QSize(1601, 901), QSize(777, 500)}) {
            m_tab->view().resize(size);
            QCoreApplication::processEvents();
            const auto frame = [this](const QWidget* widget) {
                return QRect(widget->mapTo(&m_tab->view(), QPoint()), widget->size());
            };
            const QRect remote = frame(m_tab->table("remoteTable")->parentWidget());
            const QRect local = frame(m_tab->table("localTable")->parentWidget());
            const QRect tasks = frame(m_tab->table("taskTable")->parentWidget());
            const QRect buttons = m_tab->view().findChild<FlowLayout*>()->geometry();
            const QRect status = frame(m_tab->find<QLabel>("statusLabel"));
            const QRect summary = frame(m_tab->find<QLabel>("localSummaryLabel"));
            const int right = size.width() - 1;
            QCOMPARE((QList<int>{buttons.left(), buttons.top(), summary.left() - buttons.right() - 1,
                                 right - summary.right(), remote.left(), remote.top() - buttons.bottom() - 1,
                                 status.top() - remote.bottom() - 1, local.left() - remote.right() - 1,
                                 right - local.right(), tasks.top() - local.bottom() - 1, status.left(),
                                 size.height() - 1 - status.bottom()}),
                     (QList<int>{16, 16, 8, 16, 16, 10, 10, 10, 16, 10, 16, 14}));
            QVERIFY(qAbs(remote.width() - (0.55 * size.width() - 20)) <= 1);
            QVERIFY(qAbs(tasks.height() - local.height()) <= 1);
            QCOMPARE(local.top(), remote.top());
            QCOMPARE(tasks.bottom(), remote.bottom());
            QCOMPARE(tasks.left(), local.left());
            QCOMPARE(tasks.right(), local.right());
        }
        QStringList titles;
        for (const char* name : {"remoteTable", "localTable", "taskTable"}) {
            const auto* box = qobject_cast<QGroupBox*>(m_tab->table(name)->parentWidget());
            QCOMPARE(box->contentsRect().marginsRemoved({8, 8, 8, 8}), m_tab->table(name)->geometry());
            QCOMPARE(m_tab->table(name)->accessibleName(), box->title());
            titles.append(box->title());
        }
        QCOMPARE(titles, QStringList({u"Remote Models"_s, u"Local Models"_s, u"Download Tasks"_s}));
    }

private:
    /// Selects the first model, and the second task.
    void selectOfEach()
    {
        m_tab->table("remoteTable")->selectRow(0);
        m_tab->table("taskTable")->selectRow(1);
    }
    QList<int> rowCounts()
    {
        QList<int> counts;
        for (const char* name : {"remoteTable", "localTable", "taskTable"})
            counts.append(m_tab->table(name)->model()->rowCount());
        return counts;
    }

    Fresh<ModelsTab> m_tab{this};
};

QTEST_MAIN(TestModelsViewController)
#include "TestModelsViewController.moc"
