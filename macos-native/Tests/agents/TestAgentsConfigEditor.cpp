#include "agents/AgentAnswers.h"
#include "agents/AgentsTab.h"
#include "support/Warnings.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QPlainTextEdit>

#include <optional>

namespace {

NeloWindow* editorWindow(const QString& path)
{
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->windowTitle() == QStringLiteral("Config Editor - ") + path)
            return qobject_cast<NeloWindow*>(widget);
    }
    return nullptr;
}

QPlainTextEdit* textView(const NeloWindow* window)
{
    return window->findChild<QPlainTextEdit*>(QStringLiteral("textView"));
}

} // namespace

/// How the Agents tab opens the configuration editor and what it learns of it.
class TestAgentsConfigEditor final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_tab.emplace();
    }

    void cleanup()
    {
        m_tab.reset();
        for (QWidget* widget : QApplication::topLevelWidgets())
            widget->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void theEditorOpensTheEcosystemsFile_data()
    {
        QTest::addColumn<QByteArray>("row");
        QTest::addColumn<QString>("file");
        QTest::newRow("codex") << QByteArray(R"({"ecosystem":"codex","id":"a"})")
                               << QStringLiteral(".codex/config.json");
        QTest::newRow("kimi") << QByteArray(R"({"ecosystem":"kimi","id":"a"})") << QStringLiteral(".kimi/config.json");
        QTest::newRow("codex in other letters is not codex")
            << QByteArray(R"({"ecosystem":"Codex","id":"a"})") << QStringLiteral(".openclaw/openclaw.json");
        QTest::newRow("no ecosystem") << QByteArray("{}") << QStringLiteral(".openclaw/openclaw.json");
    }

    void theEditorOpensTheEcosystemsFile()
    {
        QFETCH(QByteArray, row);
        QFETCH(QString, file);
        m_tab->show(Json::array({Json::parse(row.toStdString())}));
        m_tab->table()->selectRow(0);
        press("Config Editor");
        QCOMPARE(Files::contentOf(home(file)), QByteArray("{}\n"));
        NeloWindow* window = editorWindow(home(file));
        QVERIFY(window);
        QVERIFY(QTest::qWaitForWindowActive(window));
        QCOMPARE(textView(window)->toPlainText(), QStringLiteral("{}\n"));
        QCOMPARE(window->findChild<QLabel*>(QStringLiteral("pathLabel"))->text(), home(file));
        QVERIFY(m_tab->actions().empty());
        QCOMPARE(m_tab->refreshes(), 1);
    }

    void theEditorsFolderIsPrivate()
    {
        m_tab->show(Json::array({agentRow("codex", "a")}));
        m_tab->table()->selectRow(0);
        press("Config Editor");
        constexpr QFile::Permissions others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther
                                              | QFile::WriteOther | QFile::ExeOther;
        QVERIFY(!(QFileInfo(home(QStringLiteral(".codex"))).permissions() & others));
        QVERIFY(!(QFileInfo(home(QStringLiteral(".codex/config.json"))).permissions() & others));
    }

    void anExistingConfigurationIsOpenedAsItIs()
    {
        QVERIFY(QDir().mkdir(home(QStringLiteral(".codex"))));
        Files::create(home(QStringLiteral(".codex/config.json")), "{,]\r\n");
        m_tab->show(Json::array({agentRow("codex", "a")}));
        m_tab->table()->selectRow(0);
        press("Config Editor");
        QCOMPARE(Files::contentOf(home(QStringLiteral(".codex/config.json"))), QByteArray("{,]\r\n"));
    }

    void aConfigurationThatCannotBeMadeOpensEmpty()
    {
        Files::create(home(QStringLiteral(".kimi")), "a file in the folder's place");
        m_tab->show(Json::array({agentRow("kimi", "a")}));
        m_tab->table()->selectRow(0);
        const DialogRobot robot;
        press("Config Editor");
        const NeloWindow* window = editorWindow(home(QStringLiteral(".kimi/config.json")));
        QVERIFY(window);
        QCOMPARE(textView(window)->toPlainText(), QString());
        QVERIFY(robot.shown().empty());
        QCOMPARE(Files::contentOf(home(QStringLiteral(".kimi"))), QByteArray("a file in the folder's place"));
    }

    void eachPressOpensAnotherEditor()
    {
        m_tab->show(Json::array({agentRow("codex", "a")}));
        m_tab->table()->selectRow(0);
        press("Config Editor");
        const QPointer<NeloWindow> first = editorWindow(home(QStringLiteral(".codex/config.json")));
        first->setWindowTitle(QStringLiteral("found"));
        press("Config Editor");
        const QPointer<NeloWindow> second = editorWindow(home(QStringLiteral(".codex/config.json")));
        QVERIFY(second && second != first);
        first->close();
        QTRY_VERIFY(!first);
        QVERIFY(second->isVisible());
    }

    void aSavedConfigurationIsTold()
    {
        m_tab->show(Json::array({agentRow("codex", "a")}));
        m_tab->table()->selectRow(0);
        press("Config Editor");
        const QString path = home(QStringLiteral(".codex/config.json"));
        const QPointer<NeloWindow> window = editorWindow(path);
        QTest::keyClicks(textView(window), QStringLiteral("x"));
        QTest::mouseClick(window->findChildren<QPushButton*>().last(), Qt::LeftButton);
        QTRY_VERIFY(!window);
        QCOMPARE(Files::contentOf(path), QByteArray("x{}\n"));
        QCOMPARE(m_tab->status(), QStringLiteral("Saved config: ") + path);
        QCOMPARE(m_tab->refreshes(), 1);
    }

    void anEditorOutlivesTheTab()
    {
        m_tab->show(Json::array({agentRow("codex", "a")}));
        m_tab->table()->selectRow(0);
        press("Config Editor");
        const QString path = home(QStringLiteral(".codex/config.json"));
        const QPointer<NeloWindow> window = editorWindow(path);
        m_tab->window.reset();
        QVERIFY(!m_tab->controller);
        QTest::keyClicks(textView(window), QStringLiteral("x"));
        QTest::mouseClick(window->findChildren<QPushButton*>().last(), Qt::LeftButton);
        QTRY_VERIFY(!window);
        QCOMPARE(Files::contentOf(path), QByteArray("x{}\n"));
    }

private:
    QString home(const QString& relative) const { return m_tab->backend.home().path(relative); }
    void press(const char* button) const { m_tab->press(QString::fromLatin1(button)); }

    std::optional<AgentsTab> m_tab;
};

QTEST_MAIN(TestAgentsConfigEditor)
#include "TestAgentsConfigEditor.moc"
