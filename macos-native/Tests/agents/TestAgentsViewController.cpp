#include "agents/AgentsTab.h"
#include "support/Corpora.h"
#include "support/DialogRobot.h"
#include "support/TestCase.h"

#include <QAccessible>
#include <QSignalSpy>
#include <QTabWidget>

#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The Agents tab's table and its refresh, on the real helper.
class TestAgentsViewController final : public TestCase
{
    Q_OBJECT

private slots:
    void loadsTheRegistryOnceWhenItLoads()
    {
        QCOMPARE(m_tab->refreshes(), 0);
        m_tab->answer(threeAgents());
        m_tab->controller->loadViewIfNeeded();
        QCOMPARE(m_tab->backend.calls(),
                 (std::vector<ScriptedBackend::Call>{{"sync_local_agents_to_core", Json::array()}}));
        QCOMPARE(m_tab->summary(), u"Total: 3 (codex:1, kimi:1, openclaw:1)"_s);
        QCOMPARE(m_tab->status(), u"Synced local discovery to Core and loaded Core agent registry."_s);

        m_tab->controller->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_tab->controller));
        QCOMPARE(m_tab->refreshes(), 1);
        m_tab->controller->refreshAgents(); // in no window of ours
        QCOMPARE(m_tab->refreshes(), 2);
    }

    void itIsReadyAndAsksNothingBehindAnotherWindow()
    {
        NeloWindow window(u"Nelo Console"_s, {1000, 600});
        QWidget other;
        other.show();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        window.setContentViewController(m_tab->controller);
        m_tab->controller->loadViewIfNeeded();
        QCOMPARE(m_tab->status(), u"Ready"_s);
        QCOMPARE(m_tab->summary(), QString());
        QCOMPARE(m_tab->refreshes(), 0);
    }

    void columnsStandInOrderAtTheirWidths()
    {
        m_tab->controller->loadViewIfNeeded();
        QStringList columns;
        for (int column = 0; column < m_tab->table()->model()->columnCount(); ++column) {
            const QString title = m_tab->table()->model()->headerData(column, Qt::Horizontal).toString();
            columns.append(u"%1 %2"_s.arg(title).arg(m_tab->table()->columnWidth(column)));
        }
        QCOMPARE(columns.join(u", "), u"ID 150, Name 180, Ecosystem 120, Origin 100, State 160, Last Seen 170, "
                                      "Workspace 340, Created At 170"_s);
    }

    void cellsShowTheRowsInTheBackendsOrder()
    {
        m_tab->show({{{"createdAt", "2025-01-01T09:30:00+00:00"},
                      {"workspace", "/home/我/.codex/agents/b"},
                      {"lastSeen", "2025-01-02"},
                      {"state", "busy"},
                      {"origin", "managed"},
                      {"ecosystem", "codex"},
                      {"name", "乙"},
                      {"id", "b"},
                      {"other", "not shown"}},
                     {{"id", "a"}}});
        QStringList texts;
        for (int column = 0; column < 8; ++column)
            texts.append(cell(0, column));
        QCOMPARE(
            texts,
            u"b,乙,codex,managed,busy,2025-01-02,/home/我/.codex/agents/b,2025-01-01T09:30:00+00:00"_s.split(u','));
        QCOMPARE(cell(1, 0), u"a"_s);
        QCOMPARE(cell(1, 1), QString());
    }

    /// In dialogs only every twentieth, for they take long.
    void namesThatProgramsHaveStumbledOverStandInCellsAndDialogs()
    {
        const QStringList strings = Corpora::naughtyStrings();
        QVERIFY(strings.size() > 450);
        Json agents = Json::array();
        for (const QString& string : strings)
            agents.push_back(agentRow("codex", string.toStdString()));
        m_tab->show(agents);
        QAccessibleTableInterface* table = QAccessible::queryAccessibleInterface(m_tab->table())->tableInterface();
        QCOMPARE(m_tab->table()->model()->rowCount(), strings.size());
        for (int row = 0; row < strings.size(); ++row) {
            QString line = strings.at(row);
            line.replace(QChar::ParagraphSeparator, u' '); // the only line break in the list
            QCOMPARE(cell(row, 0), line);
            QCOMPARE(cell(row, 1), line + u" 名"_s);
            QCOMPARE(table->cellAt(row, 1)->text(QAccessible::Name), line + u" 名"_s);
            if (row % 20 != 0)
                continue;
            m_tab->table()->selectRow(row);
            const DialogRobot robot({DialogRobot::press(u"Delete"_s)});
            m_tab->press("Delete");
            QCOMPARE(robot.titles(), QStringList{u"Delete Agent"_s});
            QCOMPARE(robot.shown().at(0).text, u"Delete codex/%1 and remove its workspace?"_s.arg(strings.at(row)));
            QVERIFY(m_tab->actions().back().args == Json({"codex", strings.at(row).toStdString(), true}));
        }
        QCOMPARE(m_tab->summary(), u"Total: %1 (codex:%1)"_s.arg(strings.size()));
    }

    void aFailureEmptiesTheTableAndTheNextRefreshRecovers()
    {
        m_tab->show(threeAgents());
        m_tab->backend.raise("sync_local_agents_to_core", "OSError", "磁盘 <full>");
        m_tab->press("Refresh");
        QCOMPARE(m_tab->table()->model()->rowCount(), 0);
        QCOMPARE(m_tab->summary(), u"Total: 0"_s);
        QCOMPARE(m_tab->status(), u"ERROR: OSError: 磁盘 <full>"_s);

        m_tab->answer(threeAgents());
        m_tab->press("Refresh");
        QCOMPARE(m_tab->table()->model()->rowCount(), 3);
        QCOMPARE(m_tab->status(), u"Synced local discovery to Core and loaded Core agent registry."_s);
    }

    void theSelectedAgentStaysSelectedAcrossARefresh()
    {
        m_tab->show(threeAgents());
        m_tab->table()->selectRow(1);
        Json changed = {agentRow("kimi", "codex-1"), agentRow("codex", "new"), agentRow("codex", "codex-1")};
        changed[2]["name"] = "renamed";
        m_tab->answer(changed);
        m_tab->controller->refreshAgents();
        QCOMPARE(m_tab->table()->selectedRow(), std::optional<Json>(changed[2]));

        m_tab->answer(threeAgents()[0]);
        m_tab->controller->refreshAgents();
        QVERIFY(!m_tab->table()->selectedRow());
    }

    void aRefreshWithoutNewsLeavesTheTableAlone()
    {
        m_tab->show(threeAgents());
        const QSignalSpy changes(m_tab->table()->model(), &QAbstractItemModel::dataChanged);
        m_tab->controller->refreshAgents();
        QCOMPARE(m_tab->refreshes(), 2);
        QCOMPARE(changes.count(), 0);
    }

    void theTimerRefreshesEveryFiveSecondsWhileTheTabIsVisible()
    {
        m_tab->show(threeAgents());
        QCOMPARE(m_tab->timer()->interval(), 5000);
        QCOMPARE(m_tab->timer()->timerType(), Qt::PreciseTimer); // any other is up to 5 % early or late
        QVERIFY(!m_tab->timer()->isSingleShot());
        QCOMPARE(m_tab->refreshes(), 1); // not until the first tick
        for (int appearance = 0; appearance < 2; ++appearance) {
            QVERIFY(m_tab->timer()->isActive());
            QCOMPARE(m_tab->controller->findChildren<QTimer*>(u"refreshTimer"_s).size(), 1);
            m_tab->controller->hide();
            QVERIFY(!m_tab->timer());
            m_tab->controller->show();
            QTRY_VERIFY(m_tab->timer());
        }
    }

    void theTimerRefreshesWhileTheTabIsInFront()
    {
        QTabWidget tabs;
        tabs.addTab(new AgentsViewController(&tabs, 10ms), u"Agents"_s);
        tabs.addTab(new QWidget(&tabs), u"Other"_s);
        tabs.show();
        QTRY_VERIFY(m_tab->refreshes() >= 3);
        tabs.setCurrentIndex(1);
        QVERIFY(!tabs.findChild<QTimer*>(u"refreshTimer"_s));
        tabs.setCurrentIndex(0);
        const int refreshes = m_tab->refreshes();
        QTRY_VERIFY(m_tab->refreshes() >= refreshes + 2);
    }

    void behindAnotherWindowARefreshCallsNothing()
    {
        m_tab->show(threeAgents());
        QWidget other;
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        m_tab->controller->refreshAgents();
        QCOMPARE(m_tab->refreshes(), 1);
        m_tab->window->makeKeyAndOrderFront();
        QVERIFY(QTest::qWaitForWindowActive(m_tab->window.get()));
        m_tab->controller->refreshAgents();
        QCOMPARE(m_tab->refreshes(), 2);
    }

    void theViewIsLaidOutAsGiven()
    {
        Json agents = Json::array();
        for (const char* ecosystem : {"codex", "gemini", "kimi", "openclaw", "opencode", "unknown"})
            for (int i = 0; i < 11; ++i)
                agents.push_back(agentRow(ecosystem, std::to_string(i)));
        m_tab->show(agents); // a summary that is too long, which elides before the buttons take a second line
        const auto frame = [this](const QWidget* widget) {
            return QRect(widget->mapTo(m_tab->controller.data(), QPoint()), widget->size());
        };
        QStringList titles;
        int left = 16;
        for (const QPushButton* button : m_tab->controller->findChildren<QPushButton*>()) {
            titles.append(button->text());
            QCOMPARE(frame(button).topLeft(), QPoint(left, 16));
            left = frame(button).right() + 1 + 8;
        }
        QCOMPARE(titles, u"Refresh,Add Agent,Config Editor,Run Configure,Adopt / Rename,Delete"_s.split(u','));
        const QRect button = frame(m_tab->controller->findChild<QPushButton*>());
        const auto* summaryLabel = m_tab->controller->findChild<QLabel*>(u"summaryLabel"_s);
        const QRect summary = frame(summaryLabel);
        const QRect table = frame(m_tab->table());
        const QRect status = frame(m_tab->controller->findChild<QLabel*>(u"statusLabel"_s));
        QVERIFY(summary.width() >= 90 && summary.width() < summaryLabel->sizeHint().width());
        QCOMPARE(summary.center().y(), button.center().y());
        QCOMPARE(
            (QList<int>{999 - summary.right(), table.left(), table.top() - button.bottom() - 1, 999 - table.right(),
                        status.top() - table.bottom() - 1, status.left(), 999 - status.right(), 599 - status.bottom()}),
            (QList<int>{16, 16, 10, 16, 10, 16, 16, 14}));
    }

private:
    static Json threeAgents()
    {
        return {agentRow("openclaw", "main", "discovered"), agentRow("codex", "codex-1"), agentRow("kimi", "kimi-1")};
    }

    QString cell(int row, int column) const { return m_tab->table()->model()->index(row, column).data().toString(); }

    Fresh<AgentsTab> m_tab{this};
};

QTEST_MAIN(TestAgentsViewController)
#include "TestAgentsViewController.moc"
