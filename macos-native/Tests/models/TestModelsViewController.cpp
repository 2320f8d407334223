#include "models/ModelsViewController.h"

#include "support/Cases.h"
#include "support/DialogRobot.h"
#include "support/ScriptedBackend.h"
#include "support/UnreadReplies.h"
#include "support/Warnings.h"
#include "ui/Colors.h"
#include "ui/FlowLayout.h"
#include "ui/JsonTable.h"

#include <QApplication>
#include <QGroupBox>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <optional>

using namespace Qt::StringLiterals;

using Calls = std::vector<ScriptedBackend::Call>;

/// The Models tab on the real helper.
class TestModelsViewController final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_backend.emplace();
        m_backend->answer(
            "list_remote_models",
            {{{"name", "qwen3:8b"}, {"provider", "阿里"}, {"installed", true}, {"tags", {"qwen3", "chat"}}},
             {{"name", "other"}, {"installed", false}}});
        m_backend->answer("list_local_models", Json::array({{{"name", "qwen3:8b"}, {"size", "5.2 GB"}}}));
        m_backend->answer("list_model_download_tasks", {{{"id", "1"}, {"status", "running"}}, {{"id", "2"}}});
        m_backend->answer("start_model_download", Json::object());
        m_backend->answer("cancel_model_download", Json::object());
        m_controller = new ModelsViewController;
        m_controller->resize(1000, 600);
    }

    void cleanup()
    {
        delete m_controller;
        m_backend.reset();
    }

    void loadsItsListsOnceInOrder()
    {
        m_controller->loadViewIfNeeded();
        const Json none = Json::array();
        QVERIFY(
            m_backend->calls()
            == (Calls{{"list_remote_models", none}, {"list_local_models", none}, {"list_model_download_tasks", none}}));
        QCOMPARE(table("remoteTable")->model()->rowCount(), 2);
        QCOMPARE(table("remoteTable")->model()->index(0, 4).data().toString(), u"qwen3,chat"_s);
        QCOMPARE(table("localTable")->model()->rowCount(), 1);
        QCOMPARE(table("taskTable")->model()->rowCount(), 2);
        QCOMPARE(summary(), u"Local: 1  Tasks: 2"_s);
        QCOMPARE(status(), u"Loaded local models and tasks."_s);
        show();
        QCOMPARE(m_backend->calls().size(), 3U);
    }

    void anErrorOfTheCatalogueLeavesTheOtherLists()
    {
        show();
        m_backend->raise("list_remote_models", "OSError", "no <b>catalogue</b>");
        press(u"Refresh Remote"_s);
        QCOMPARE(table("remoteTable")->model()->rowCount(), 0);
        QCOMPARE(table("localTable")->model()->rowCount(), 1);
        QCOMPARE(status(), u"ERROR: OSError: no <b>catalogue</b>"_s);
        QCOMPARE(m_backend->calls().size(), 4U);
    }

    void anErrorOfTheTasksEmptiesBothLists()
    {
        show();
        m_backend->raise("list_model_download_tasks", "OSError", "no server");
        press(u"Refresh Local/Tasks"_s);
        QCOMPARE(table("localTable")->model()->rowCount(), 0);
        QCOMPARE(table("taskTable")->model()->rowCount(), 0);
        QCOMPARE(table("remoteTable")->model()->rowCount(), 2);
        QCOMPARE(summary(), u"Local: 0  Tasks: 0"_s);
        QCOMPARE(status(), u"ERROR: OSError: no server"_s);

        m_backend->raise("list_local_models", "OSError", "no models");
        press(u"Refresh Local/Tasks"_s);
        QCOMPARE(status(), u"ERROR: OSError: no models"_s);
        QCOMPARE(m_backend->count("list_model_download_tasks"), 3); // asked all the same
    }

    void selectionAndWidthsStayAcrossARefresh()
    {
        show();
        table("remoteTable")->selectRow(1);
        table("remoteTable")->setColumnWidth(0, 111);
        table("localTable")->selectRow(0);
        table("taskTable")->selectRow(1);
        m_backend->answer("list_remote_models", {{{"name", "new"}}, {{"name", "qwen3:8b"}}, {{"name", "other"}}});
        m_backend->answer("list_local_models", {{{"name", "new"}}, {{"name", "qwen3:8b"}}});
        m_backend->answer("list_model_download_tasks", {{{"id", "2"}, {"status", "done"}}, {{"id", "1"}}});
        press(u"Refresh Remote"_s);
        press(u"Refresh Local/Tasks"_s);
        QCOMPARE(table("remoteTable")->currentIndex().row(), 2);
        QCOMPARE(table("remoteTable")->columnWidth(0), 111);
        QCOMPARE(table("localTable")->currentIndex().row(), 1);
        QCOMPARE(table("taskTable")->currentIndex().row(), 0);
    }

    void aDownloadIsStartedAndListed()
    {
        show();
        table("remoteTable")->selectRow(0);
        m_backend->answer("list_model_download_tasks", Json::array({{{"id", "9"}, {"model", "qwen3:8b"}}}));
        const DialogRobot robot;
        const QString said = m_backend->seenDuring(
            "list_local_models", Json::array(), [this] { return status(); }, [this] { press(u"Download Selected"_s); });
        QCOMPARE(said, u"Submitted download for qwen3:8b"_s);
        const Calls calls = m_backend->calls();
        QCOMPARE(calls.size(), 6U);
        QCOMPARE(calls.at(3), (ScriptedBackend::Call{"start_model_download", Json::array({"qwen3:8b"})}));
        QCOMPARE(calls.at(4).function, std::string("list_local_models"));
        QCOMPARE(calls.at(5).function, std::string("list_model_download_tasks"));
        QCOMPARE(status(), u"Loaded local models and tasks."_s);
        QCOMPARE(table("taskTable")->model()->index(0, 1).data().toString(), u"qwen3:8b"_s);
        QVERIFY(robot.shown().empty());
    }

    void aTaskIsCancelledAndListed()
    {
        show();
        table("taskTable")->selectRow(1);
        m_backend->answer("list_model_download_tasks", Json::array());
        const DialogRobot robot;
        const Json localModels = Json::array({{{"name", "qwen3:8b"}}});
        const QString said = m_backend->seenDuring(
            "list_local_models", localModels, [this] { return status(); }, [this] { press(u"Cancel Task"_s); });
        QCOMPARE(said, u"Cancelled task 2"_s);
        const Calls calls = m_backend->calls();
        QCOMPARE(calls.size(), 6U);
        QCOMPARE(calls.at(3), (ScriptedBackend::Call{"cancel_model_download", Json::array({"2"})}));
        QCOMPARE(status(), u"Loaded local models and tasks."_s);
        QCOMPARE(summary(), u"Local: 1  Tasks: 0"_s);
        QVERIFY(robot.shown().empty());
    }

    void withoutASelectionNothingIsAsked_data()
    {
        const Cases<QString, QString> add("button", "text");
        add("a download", u"Download Selected"_s, u"Select a remote model first."_s);
        add("a cancellation", u"Cancel Task"_s, u"Select a task first."_s);
    }

    void withoutASelectionNothingIsAsked()
    {
        QFETCH(QString, button);
        QFETCH(QString, text);
        show();
        table("localTable")->selectRow(0); // the other tables' selections do not count
        const DialogRobot robot({DialogRobot::press(u"OK"_s)});
        press(button);
        QCOMPARE(robot.titles(), QStringList{u"No Selection"_s});
        QCOMPARE(robot.shown().at(0).text, text);
        QCOMPARE(m_backend->calls().size(), 3U);
    }

    void anUnusableNameIsNoSelection_data()
    {
        const Cases<QByteArray> add("value");
        add("empty", R"("")");
        add("a number", "7");
        add("null", "null");
        add("missing", "");
    }

    void anUnusableNameIsNoSelection()
    {
        QFETCH(QByteArray, value);
        Json row = {{"other", 1}};
        if (!value.isEmpty()) {
            row["name"] = Json::parse(value.toStdString());
            row["id"] = row["name"];
        }
        m_backend->answer("list_remote_models", Json::array({row}));
        m_backend->answer("list_model_download_tasks", Json::array({row}));
        show();
        table("remoteTable")->selectRow(0);
        table("taskTable")->selectRow(0);
        const DialogRobot robot({DialogRobot::press(Qt::Key_Escape), DialogRobot::press(Qt::Key_Return)});
        press(u"Download Selected"_s);
        press(u"Cancel Task"_s);
        QCOMPARE(robot.titles(), QStringList({u"No Selection"_s, u"No Selection"_s}));
        QCOMPARE(m_backend->calls().size(), 3U);
    }

    void aFailureIsToldInFull_data()
    {
        const Cases<QByteArray, QString, QString> add("function", "button", "title");
        add("of a download", "start_model_download", u"Download Selected"_s, u"Download Failed"_s);
        add("of a cancellation", "cancel_model_download", u"Cancel Task"_s, u"Cancel Failed"_s);
    }

    void aFailureIsToldInFull()
    {
        QFETCH(QByteArray, function);
        QFETCH(QString, button);
        QFETCH(QString, title);
        show();
        table("remoteTable")->selectRow(0);
        table("taskTable")->selectRow(0);
        m_backend->raise(function.toStdString(), "RuntimeError", "服务器 <b>gone</b>");
        const DialogRobot robot({DialogRobot::press(u"OK"_s)});
        press(button);
        QCOMPARE(robot.titles(), QStringList{title});
        QCOMPARE(robot.shown().at(0).text, u"ERROR: RuntimeError: 服务器 <b>gone</b>"_s);
        QCOMPARE(m_backend->calls().size(), 4U); // no refresh
        QCOMPARE(status(), u"Loaded local models and tasks."_s);
    }

    void ofAnAnswerOnlyItsSuccessCounts_data() { addUnreadReplies(); }

    void ofAnAnswerOnlyItsSuccessCounts()
    {
        QFETCH(Json, reply);
        m_backend->answer("start_model_download", reply);
        m_backend->answer("cancel_model_download", reply);
        show();
        table("remoteTable")->selectRow(0);
        table("taskTable")->selectRow(0);
        const DialogRobot robot;
        press(u"Download Selected"_s);
        press(u"Cancel Task"_s);
        QVERIFY(robot.shown().empty());
        QCOMPARE(m_backend->count("list_local_models"), 3);
    }

    void aTabThatGoesUnderItsAlertDoesNoHarm()
    {
        show();
        const DialogRobot robot({[this](QDialog& dialog) {
            delete m_controller;
            DialogRobot::press(u"OK"_s)(dialog);
        }});
        QTimer::singleShot(0, m_controller, &ModelsViewController::downloadSelected);
        QTRY_VERIFY(!m_controller);
        QTRY_VERIFY(!QApplication::activeModalWidget());
        QCOMPARE(robot.shown().size(), 1U);
    }

    void theViewIsLaidOutAsGiven_data()
    {
        const Cases<QSize> add("size");
        add("as in the console", QSize(1000, 600));
        add("wider", QSize(1601, 901));
        add("narrower", QSize(777, 500));
    }

    void theViewIsLaidOutAsGiven()
    {
        QFETCH(QSize, size);
        show();
        m_controller->resize(size);
        QCoreApplication::processEvents();
        const auto boxOf = [this](const char* name) { return frame(table(name)->parentWidget()); };
        const QRect remote = boxOf("remoteTable");
        const QRect local = boxOf("localTable");
        const QRect tasks = boxOf("taskTable");
        const QRect button = frame(m_controller->findChild<QPushButton*>());
        const QRect statusLine = frame(m_controller->findChild<QLabel*>(u"statusLabel"_s));
        const QRect summaryLine = frame(m_controller->findChild<QLabel*>(u"localSummaryLabel"_s));

        QCOMPARE(button.topLeft(), QPoint(16, 16));
        QCOMPARE(summaryLine.right() + 1, size.width() - 16);
        QCOMPARE(summaryLine.left(), m_controller->findChild<FlowLayout*>()->geometry().right() + 1 + 8);
        QCOMPARE(remote.left(), 16);
        QVERIFY(qAbs(remote.width() - (0.55 * size.width() - 20)) <= 1);
        QCOMPARE(remote.top(), button.bottom() + 1 + 10);
        QCOMPARE(remote.bottom() + 1, statusLine.top() - 10);
        QCOMPARE(local.left(), remote.right() + 1 + 10);
        QCOMPARE(local.right() + 1, size.width() - 16);
        QCOMPARE(local.top(), remote.top());
        QCOMPARE(tasks.left(), local.left());
        QCOMPARE(tasks.right(), local.right());
        QCOMPARE(tasks.top(), local.bottom() + 1 + 10);
        QCOMPARE(tasks.bottom(), remote.bottom());
        QVERIFY(qAbs(tasks.height() - local.height()) <= 1);
        QCOMPARE(statusLine.left(), 16);
        QCOMPARE(statusLine.bottom() + 1, size.height() - 14);

        const auto* box = qobject_cast<QGroupBox*>(table("remoteTable")->parentWidget());
        QCOMPARE(box->contentsRect().marginsRemoved({8, 8, 8, 8}), table("remoteTable")->geometry());
        for (const auto& [name, title] :
             std::initializer_list<std::pair<const char*, QString>>{{"remoteTable", u"Remote Models"_s},
                                                                    {"localTable", u"Local Models"_s},
                                                                    {"taskTable", u"Download Tasks"_s}}) {
            QCOMPARE(qobject_cast<QGroupBox*>(table(name)->parentWidget())->title(), title);
            QCOMPARE(table(name)->accessibleName(), title);
        }
    }

    void theStatusIsInTheSecondaryColor()
    {
        show();
        const auto* label = m_controller->findChild<QLabel*>(u"statusLabel"_s);
        QCOMPARE(label->palette().color(QPalette::WindowText), Colors::secondaryText(m_controller->palette()));
    }

private:
    void show()
    {
        m_controller->show();
        QVERIFY(QTest::qWaitForWindowActive(m_controller));
    }

    JsonTable* table(const char* name) const { return m_controller->findChild<JsonTable*>(QString::fromLatin1(name)); }
    QString summary() const { return m_controller->findChild<QLabel*>(u"localSummaryLabel"_s)->text(); }
    QString status() const { return m_controller->findChild<QLabel*>(u"statusLabel"_s)->text(); }

    void press(const QString& title) const
    {
        for (QPushButton* button : m_controller->findChildren<QPushButton*>()) {
            if (button->text() == title) {
                QTest::mouseClick(button, Qt::LeftButton);
                return;
            }
        }
        QFAIL("no such button");
    }

    QRect frame(const QWidget* widget) const { return {widget->mapTo(m_controller.data(), QPoint()), widget->size()}; }

    std::optional<ScriptedBackend> m_backend;
    QPointer<ModelsViewController> m_controller;
};

QTEST_MAIN(TestModelsViewController)
#include "TestModelsViewController.moc"
