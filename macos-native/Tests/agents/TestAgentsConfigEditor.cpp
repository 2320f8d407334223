#include "agents/AgentsTab.h"
#include "agents/ConfigEditorWindowController.h"
#include "support/CaseTable.h"
#include "support/Controls.h"
#include "support/DialogRobot.h"
#include "support/TestCase.h"

#include <QApplication>
#include <QFileInfo>
#include <QPlainTextEdit>

using namespace Qt::StringLiterals;

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
        const QString openclaw = u".openclaw/openclaw.json"_s;
        const QString codex = u".codex/config.json"_s;
        const QString kimi = u".kimi/config.json"_s;
        struct File
        {
            QString name;
            QByteArray content;
        };
        const CaseTable<Json, QString, File, QString> cases{
            {"codex", agentRow("codex", "a"), codex, {}, u"{}\n"_s},
            {"kimi", agentRow("kimi", "a"), kimi, {}, u"{}\n"_s},
            {"codex in other letters is not codex", {{"ecosystem", "Codex"}}, openclaw, {}, u"{}\n"_s},
            {"no ecosystem", Json::object(), openclaw, {}, u"{}\n"_s},
            {"a file that is there", agentRow("codex", "a"), codex, {codex, "{,]\r\n"}, u"{,]\n"_s},
            {"a file in the folder's place", agentRow("kimi", "a"), kimi, {u".kimi"_s, "a file"}, {}},
        };
        for (const auto& [row, file, before, text] : cases) {
            restart();
            if (!before.name.isEmpty())
                Files::create(home(before.name), before.content);
            const DialogRobot robot;
            m_tab->showSelected(row);
            m_tab->press("Config Editor");
            NeloWindow* window = editorWindow(home(file));
            QVERIFY(window);
            QVERIFY(QTest::qWaitForWindowActive(window));
            QCOMPARE(textView(window)->toPlainText(), text);
            QCOMPARE(window->findChild<QLabel*>(u"pathLabel"_s)->text(), home(file));
            if (before.name.isEmpty()) {
                QCOMPARE(Files::contentOf(home(file)), "{}\n"_ba);
                QCOMPARE(Files::mode(home(file)), 0600);
                QCOMPARE(Files::mode(QFileInfo(home(file)).path()), 0700);
            } else {
                QCOMPARE(Files::contentOf(home(before.name)), before.content);
            }
            QVERIFY(robot.shown().empty());
            QVERIFY(m_tab->actions().empty());
            QCOMPARE(m_tab->refreshes(), 1);
        }
    }

    void eachPressOpensAnotherEditor()
    {
        const QPointer<NeloWindow> first = openEditor();
        first->setWindowTitle(u"found"_s);
        const QPointer<NeloWindow> second = openEditor();
        QVERIFY(second && second != first);
        first->close();
        QTRY_VERIFY(!first);
        QVERIFY(second->isVisible());
    }

    void eachEditorLeavesTheTitleOfTheOneBeforeInSight()
    {
        std::optional<QPoint> before;
        for (int editor = 0; editor < 60; ++editor) {
            NeloWindow* window = openEditor();
            window->setWindowTitle(u"found"_s);
            if (editor < 3)
                QVERIFY(!before || (window->x() > before->x() && window->y() > before->y()));
            before = window->pos();
            QVERIFY(window->screen()->availableGeometry().contains(*before));
        }
    }

    void aSavedConfigurationIsTold()
    {
        saveEdited(openEditor());
        QCOMPARE(m_tab->status(), u"Saved config: "_s + codexFile());
        QCOMPARE(m_tab->refreshes(), 1);
    }

    void whatWasNotSavedIsNotTold()
    {
        const auto* editor = openEditor()->findChild<ConfigEditorWindowController*>();
        const QString status = m_tab->status();
        editor->onSave()(false);
        QCOMPARE(m_tab->status(), status);
        editor->onSave()(true);
        QCOMPARE(m_tab->status(), u"Saved config: "_s + codexFile());
    }

    void anEditorOutlivesTheTab()
    {
        NeloWindow* editor = openEditor();
        m_tab->window.reset();
        QVERIFY(!m_tab->controller);
        saveEdited(editor);
    }

private:
    static NeloWindow* editorWindow(const QString& path)
    {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (widget->windowTitle() == u"Config Editor - "_s + path)
                return qobject_cast<NeloWindow*>(widget);
        }
        return nullptr;
    }

    static QPlainTextEdit* textView(const NeloWindow* window)
    {
        return window->findChild<QPlainTextEdit*>(u"textView"_s);
    }

    /// Opens an editor of codex's configuration.
    NeloWindow* openEditor()
    {
        if (!m_tab->window)
            m_tab->showSelected(agentRow("codex", "a"));
        m_tab->press("Config Editor");
        return editorWindow(codexFile());
    }

    /// Types into the editor and saves, which closes it.
    void saveEdited(const QPointer<NeloWindow>& editor) const
    {
        QTest::keyClicks(textView(editor), u"x"_s);
        Controls::press(*editor, u"Save"_s);
        QTRY_VERIFY(!editor);
        QCOMPARE(Files::contentOf(codexFile()), "x{}\n"_ba);
    }

    QString codexFile() const { return home(u".codex/config.json"_s); }
    QString home(const QString& relative) const { return m_tab->backend.home().path(relative); }

    Fresh<AgentsTab> m_tab{this};
};

QTEST_MAIN(TestAgentsConfigEditor)
#include "TestAgentsConfigEditor.moc"
