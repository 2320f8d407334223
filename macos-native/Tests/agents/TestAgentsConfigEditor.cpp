#include "agents/AgentAnswers.h"
#include "agents/AgentsTab.h"
#include "agents/ConfigEditorWindowController.h"
#include "support/CaseTable.h"
#include "support/Controls.h"
#include "support/TestCase.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QPlainTextEdit>

using namespace Qt::StringLiterals;

namespace {

NeloWindow* editorWindow(const QString& path)
{
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->windowTitle() == u"Config Editor - "_s + path)
            return qobject_cast<NeloWindow*>(widget);
    }
    return nullptr;
}

QPlainTextEdit* textView(const NeloWindow* window)
{
    return window->findChild<QPlainTextEdit*>(u"textView"_s);
}

} // namespace

/// How the Agents tab opens the configuration editor and what it learns of it.
class TestAgentsConfigEditor final : public TestCase
{
    Q_OBJECT

private slots:
    void cleanup() override
    {
        TestCase::cleanup();
        for (QWidget* widget : QApplication::topLevelWidgets())
            widget->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void theEditorOpensTheEcosystemsFile()
    {
        const CaseTable<Json, QString> cases{
            {"codex", {{"ecosystem", "codex"}, {"id", "a"}}, u".codex/config.json"_s},
            {"kimi", {{"ecosystem", "kimi"}, {"id", "a"}}, u".kimi/config.json"_s},
            {"codex in other letters is not codex", {{"ecosystem", "Codex"}}, u".openclaw/openclaw.json"_s},
            {"no ecosystem", Json::object(), u".openclaw/openclaw.json"_s},
        };
        for (const auto& [row, file] : cases) {
            restart();
            m_tab->showSelected(row);
            m_tab->press("Config Editor");
            QCOMPARE(Files::contentOf(home(file)), "{}\n"_ba);
            NeloWindow* window = editorWindow(home(file));
            QVERIFY(window);
            QVERIFY(QTest::qWaitForWindowActive(window));
            QCOMPARE(textView(window)->toPlainText(), u"{}\n"_s);
            QCOMPARE(window->findChild<QLabel*>(u"pathLabel"_s)->text(), home(file));
            QVERIFY(m_tab->actions().empty());
            QCOMPARE(m_tab->refreshes(), 1);
        }
    }

    void theEditorsFolderIsPrivate()
    {
        m_tab->showSelected(agentRow("codex", "a"));
        m_tab->press("Config Editor");
        constexpr QFile::Permissions others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther
                                              | QFile::WriteOther | QFile::ExeOther;
        QVERIFY(!(QFileInfo(home(u".codex"_s)).permissions() & others));
        QVERIFY(!(QFileInfo(home(u".codex/config.json"_s)).permissions() & others));
    }

    void anExistingConfigurationIsOpenedAsItIs()
    {
        QVERIFY(QDir().mkdir(home(u".codex"_s)));
        Files::create(home(u".codex/config.json"_s), "{,]\r\n");
        m_tab->showSelected(agentRow("codex", "a"));
        m_tab->press("Config Editor");
        QCOMPARE(Files::contentOf(home(u".codex/config.json"_s)), "{,]\r\n"_ba);
    }

    void aConfigurationThatCannotBeMadeOpensEmpty()
    {
        Files::create(home(u".kimi"_s), "a file in the folder's place");
        m_tab->showSelected(agentRow("kimi", "a"));
        const DialogRobot robot;
        m_tab->press("Config Editor");
        const NeloWindow* window = editorWindow(home(u".kimi/config.json"_s));
        QVERIFY(window);
        QCOMPARE(textView(window)->toPlainText(), QString());
        QVERIFY(robot.shown().empty());
        QCOMPARE(Files::contentOf(home(u".kimi"_s)), "a file in the folder's place"_ba);
    }

    void eachPressOpensAnotherEditor()
    {
        m_tab->showSelected(agentRow("codex", "a"));
        m_tab->press("Config Editor");
        const QPointer<NeloWindow> first = editorWindow(home(u".codex/config.json"_s));
        first->setWindowTitle(u"found"_s);
        m_tab->press("Config Editor");
        const QPointer<NeloWindow> second = editorWindow(home(u".codex/config.json"_s));
        QVERIFY(second && second != first);
        first->close();
        QTRY_VERIFY(!first);
        QVERIFY(second->isVisible());
    }

    void eachEditorLeavesTheTitleOfTheOneBeforeInSight()
    {
        m_tab->showSelected(agentRow("codex", "a"));
        std::optional<QPoint> before;
        for (int editor = 0; editor < 60; ++editor) {
            m_tab->press("Config Editor");
            NeloWindow* window = editorWindow(home(u".codex/config.json"_s));
            window->setWindowTitle(u"found"_s);
            if (editor < 3)
                QVERIFY(!before || (window->x() > before->x() && window->y() > before->y()));
            before = window->pos();
            QVERIFY(window->screen()->availableGeometry().contains(*before));
        }
    }

    void aSavedConfigurationIsTold()
    {
        m_tab->showSelected(agentRow("codex", "a"));
        m_tab->press("Config Editor");
        const QString path = home(u".codex/config.json"_s);
        const QPointer<NeloWindow> window = editorWindow(path);
        QTest::keyClicks(textView(window), u"x"_s);
        Controls::press(*window, u"Save"_s);
        QTRY_VERIFY(!window);
        QCOMPARE(Files::contentOf(path), "x{}\n"_ba);
        QCOMPARE(m_tab->status(), u"Saved config: "_s + path);
        QCOMPARE(m_tab->refreshes(), 1);
    }

    void whatWasNotSavedIsNotTold()
    {
        m_tab->showSelected(agentRow("codex", "a"));
        m_tab->press("Config Editor");
        const QString path = home(u".codex/config.json"_s);
        const auto* editor = editorWindow(path)->findChild<ConfigEditorWindowController*>();
        const QString status = m_tab->status();
        editor->onSave()(false);
        QCOMPARE(m_tab->status(), status);
        editor->onSave()(true);
        QCOMPARE(m_tab->status(), u"Saved config: "_s + path);
    }

    void anEditorOutlivesTheTab()
    {
        m_tab->showSelected(agentRow("codex", "a"));
        m_tab->press("Config Editor");
        const QString path = home(u".codex/config.json"_s);
        const QPointer<NeloWindow> window = editorWindow(path);
        m_tab->window.reset();
        QVERIFY(!m_tab->controller);
        QTest::keyClicks(textView(window), u"x"_s);
        Controls::press(*window, u"Save"_s);
        QTRY_VERIFY(!window);
        QCOMPARE(Files::contentOf(path), "x{}\n"_ba);
    }

private:
    QString home(const QString& relative) const { return m_tab->backend.home().path(relative); }

    Fresh<AgentsTab> m_tab{this};
};

QTEST_MAIN(TestAgentsConfigEditor)
#include "TestAgentsConfigEditor.moc"
