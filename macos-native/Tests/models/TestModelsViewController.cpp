#include "models/ModelsViewController.h"

#include "support/DialogRobot.h"
#include "support/ScriptedBackend.h"
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
        QCOMPARE(table("remoteTable")->model()->index(0, 4).data().toString(), QStringLiteral("qwen3,chat"));
        QCOMPARE(table("localTable")->model()->rowCount(), 1);
        QCOMPARE(table("taskTable")->model()->rowCount(), 2);
        QCOMPARE(summary(), QStringLiteral("Local: 1  Tasks: 2"));
        QCOMPARE(status(), QStringLiteral("Loaded local models and tasks."));
        show();
        QCOMPARE(m_backend->calls().size(), 3U);
    }

    void aCatalogueThatIsNoListIsEmpty()
    {
        show();
        m_backend->answer("list_remote_models", {{"name", "a"}});
        press(QStringLiteral("Refresh Remote"));
        QCOMPARE(table("remoteTable")->model()->rowCount(), 0);
        QCOMPARE(table("localTable")->model()->rowCount(), 1);
        QCOMPARE(status(), QStringLiteral("Loaded remote model catalog."));
    }

    void anErrorOfTheCatalogueLeavesTheOtherLists()
    {
        show();
        m_backend->raise("list_remote_models", "OSError", "no <b>catalogue</b>");
        press(QStringLiteral("Refresh Remote"));
        QCOMPARE(table("remoteTable")->model()->rowCount(), 0);
        QCOMPARE(table("localTable")->model()->rowCount(), 1);
        QCOMPARE(status(), QStringLiteral("ERROR: OSError: no <b>catalogue</b>"));
        QCOMPARE(m_backend->calls().size(), 4U);
    }

    void anErrorOfTheTasksEmptiesBothLists()
    {
        show();
        m_backend->raise("list_model_download_tasks", "OSError", "no server");
        press(QStringLiteral("Refresh Local/Tasks"));
        QCOMPARE(table("localTable")->model()->rowCount(), 0);
        QCOMPARE(table("taskTable")->model()->rowCount(), 0);
        QCOMPARE(table("remoteTable")->model()->rowCount(), 2);
        QCOMPARE(summary(), QStringLiteral("Local: 0  Tasks: 0"));
        QCOMPARE(status(), QStringLiteral("ERROR: OSError: no server"));

        m_backend->raise("list_local_models", "OSError", "no models");
        press(QStringLiteral("Refresh Local/Tasks"));
        QCOMPARE(status(), QStringLiteral("ERROR: OSError: no models"));
        QCOMPARE(m_backend->count("list_model_download_tasks"), 3); // asked all the same
    }

    void aDeadHelperIsToldAndTheNextRefreshRecovers()
    {
        show();
        m_backend->script("list_local_models", {{{"exit", 1}}});
        press(QStringLiteral("Refresh Local/Tasks"));
        QCOMPARE(status(), QStringLiteral("ERROR: backend helper terminated"));
        m_backend->answer("list_local_models", Json::array());
        press(QStringLiteral("Refresh Local/Tasks"));
        QCOMPARE(summary(), QStringLiteral("Local: 0  Tasks: 2"));
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
        press(QStringLiteral("Refresh Remote"));
        press(QStringLiteral("Refresh Local/Tasks"));
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
            "list_local_models", Json::array(), [this] { return status(); },
            [this] { press(QStringLiteral("Download Selected")); });
        QCOMPARE(said, QStringLiteral("Submitted download for qwen3:8b"));
        const Calls calls = m_backend->calls();
        QCOMPARE(calls.size(), 6U);
        QCOMPARE(calls.at(3), (ScriptedBackend::Call{"start_model_download", Json::array({"qwen3:8b"})}));
        QCOMPARE(calls.at(4).function, std::string("list_local_models"));
        QCOMPARE(calls.at(5).function, std::string("list_model_download_tasks"));
        QCOMPARE(status(), QStringLiteral("Loaded local models and tasks."));
        QCOMPARE(table("taskTable")->model()->index(0, 1).data().toString(), QStringLiteral("qwen3:8b"));
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
            "list_local_models", localModels, [this] { return status(); },
            [this] { press(QStringLiteral("Cancel Task")); });
        QCOMPARE(said, QStringLiteral("Cancelled task 2"));
        const Calls calls = m_backend->calls();
        QCOMPARE(calls.size(), 6U);
        QCOMPARE(calls.at(3), (ScriptedBackend::Call{"cancel_model_download", Json::array({"2"})}));
        QCOMPARE(status(), QStringLiteral("Loaded local models and tasks."));
        QCOMPARE(summary(), QStringLiteral("Local: 1  Tasks: 0"));
        QVERIFY(robot.shown().empty());
    }

    void withoutASelectionNothingIsAsked_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("text");
        QTest::newRow("a download") << QStringLiteral("Download Selected")
                                    << QStringLiteral("Select a remote model first.");
        QTest::newRow("a cancellation") << QStringLiteral("Cancel Task") << QStringLiteral("Select a task first.");
    }

    void withoutASelectionNothingIsAsked()
    {
        QFETCH(QString, button);
        QFETCH(QString, text);
        show();
        table("localTable")->selectRow(0); // the other tables' selections do not count
        const DialogRobot robot({DialogRobot::press(QStringLiteral("OK"))});
        press(button);
        QCOMPARE(robot.titles(), QStringList{QStringLiteral("No Selection")});
        QCOMPARE(robot.shown().at(0).text, text);
        QCOMPARE(m_backend->calls().size(), 3U);
    }

    void anUnusableNameIsNoSelection_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::newRow("empty") << QByteArray(R"("")");
        QTest::newRow("a number") << QByteArray("7");
        QTest::newRow("null") << QByteArray("null");
        QTest::newRow("missing") << QByteArray();
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
        press(QStringLiteral("Download Selected"));
        press(QStringLiteral("Cancel Task"));
        QCOMPARE(robot.titles(), QStringList({QStringLiteral("No Selection"), QStringLiteral("No Selection")}));
        QCOMPARE(m_backend->calls().size(), 3U);
    }

    void aFailureIsToldInFull_data()
    {
        QTest::addColumn<QByteArray>("function");
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("title");
        QTest::newRow("of a download") << QByteArray("start_model_download") << QStringLiteral("Download Selected")
                                       << QStringLiteral("Download Failed");
        QTest::newRow("of a cancellation")
            << QByteArray("cancel_model_download") << QStringLiteral("Cancel Task") << QStringLiteral("Cancel Failed");
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
        const DialogRobot robot({DialogRobot::press(QStringLiteral("OK"))});
        press(button);
        QCOMPARE(robot.titles(), QStringList{title});
        QCOMPARE(robot.shown().at(0).text, QStringLiteral("ERROR: RuntimeError: 服务器 <b>gone</b>"));
        QCOMPARE(m_backend->calls().size(), 4U); // no refresh
        QCOMPARE(status(), QStringLiteral("Loaded local models and tasks."));
    }

    void aTabThatGoesUnderItsAlertDoesNoHarm()
    {
        show();
        const DialogRobot robot({[this](QDialog& dialog) {
            delete m_controller;
            DialogRobot::press(QStringLiteral("OK"))(dialog);
        }});
        QTimer::singleShot(0, m_controller, &ModelsViewController::downloadSelected);
        QTRY_VERIFY(!m_controller);
        QTRY_VERIFY(!QApplication::activeModalWidget());
        QCOMPARE(robot.shown().size(), 1U);
    }

    void theViewIsLaidOutAsGiven_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("as in the console") << QSize(1000, 600);
        QTest::newRow("wider") << QSize(1601, 901);
        QTest::newRow("narrower") << QSize(777, 500);
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
        const QRect statusLine = frame(m_controller->findChild<QLabel*>(QStringLiteral("statusLabel")));
        const QRect summaryLine = frame(m_controller->findChild<QLabel*>(QStringLiteral("localSummaryLabel")));

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
        QCOMPARE(box->title(), QStringLiteral("Remote Models"));
    }

    void theStatusIsInTheSecondaryColor()
    {
        show();
        const auto* label = m_controller->findChild<QLabel*>(QStringLiteral("statusLabel"));
        QCOMPARE(label->palette().color(QPalette::WindowText), Colors::secondaryText(m_controller->palette()));
    }

    void aLongStatusDoesNotWidenTheView()
    {
        show();
        m_backend->raise("list_remote_models", "ValueError", std::string(100'000, 'x') + "\n\n\n");
        press(QStringLiteral("Refresh Remote"));
        QCoreApplication::processEvents();
        QCOMPARE(m_controller->size(), QSize(1000, 600));
        QVERIFY(m_controller->minimumSizeHint().width() <= 1000);
        for (const QLabel* label : m_controller->findChildren<QLabel*>())
            QCOMPARE(label->textFormat(), Qt::PlainText);
    }

    void controlsAreNamedAndInReadingOrder()
    {
        show();
        QCOMPARE(table("remoteTable")->accessibleName(), QStringLiteral("Remote Models"));
        QCOMPARE(table("localTable")->accessibleName(), QStringLiteral("Local Models"));
        QCOMPARE(table("taskTable")->accessibleName(), QStringLiteral("Download Tasks"));
        QWidgetList expected;
        QStringList titles;
        for (QPushButton* button : m_controller->findChildren<QPushButton*>()) {
            expected.append(button);
            titles.append(button->accessibleName());
        }
        QCOMPARE(titles,
                 QStringLiteral("Refresh Remote,Refresh Local/Tasks,Download Selected,Cancel Task").split(u','));
        expected += {table("remoteTable"), table("localTable"), table("taskTable")};
        expected.first()->setFocus();
        for (QWidget* widget : expected) {
            QCOMPARE(QApplication::focusWidget(), widget);
            QTest::keyClick(widget, Qt::Key_Tab);
        }
    }

private:
    void show()
    {
        m_controller->show();
        QVERIFY(QTest::qWaitForWindowActive(m_controller));
    }

    JsonTable* table(const char* name) const { return m_controller->findChild<JsonTable*>(QString::fromLatin1(name)); }
    QString summary() const { return m_controller->findChild<QLabel*>(QStringLiteral("localSummaryLabel"))->text(); }
    QString status() const { return m_controller->findChild<QLabel*>(QStringLiteral("statusLabel"))->text(); }

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
