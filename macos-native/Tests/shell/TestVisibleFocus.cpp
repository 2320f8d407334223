#include "shell/FakePlatform.h"
#include "shell/NeloMenuBarApp.h"
#include "shell/primitives/NeloWindow.h"
#include "support/ScriptedBackend.h"
#include "support/Warnings.h"
#include "ui/Alerts.h"
#include "ui/JsonTable.h"

#include <QApplication>
#include <QTabWidget>
#include <QTest>
#include <QTimer>

#include <optional>

namespace {

NeloWindow* windowCalled(const QString& title)
{
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        auto* window = qobject_cast<NeloWindow*>(widget);
        if (window && window->windowTitle() == title)
            return window;
    }
    return nullptr;
}

/// What gets the keyboard by Tab in the active window, in order.
QWidgetList controlsByTab(QWidget* window)
{
    constexpr int maxTabs = 100;
    QWidgetList controls;
    for (int tab = 0; tab < maxTabs; ++tab) {
        QTest::keyClick(window->focusWidget() ? window->focusWidget() : window, Qt::Key_Tab);
        QWidget* focused = QApplication::focusWidget();
        if (!controls.isEmpty() && focused == controls.constLast())
            continue; // a text with a link keeps the keyboard for another Tab
        if (!focused || controls.contains(focused))
            break;
        controls.append(focused);
    }
    return controls;
}

void verifyThatFocusShows(QWidget* window)
{
    QVERIFY(QTest::qWaitForWindowActive(window));
    const QWidgetList controls = controlsByTab(window);
    QVERIFY(!controls.isEmpty());
    for (QWidget* control : controls) {
        control->setFocus(Qt::TabFocusReason);
        const QImage focused = control->grab().toImage();
        control->clearFocus();
        const QImage unfocused = control->grab().toImage();
        const QString name = QLatin1String(control->metaObject()->className()) + u' ' + control->objectName();
        QVERIFY2(focused != unfocused, qPrintable(name + u' ' + control->accessibleName()));
    }
}

} // namespace

/// Whoever works by keyboard sees where it is: every control of every window looks different while it has it.
class TestVisibleFocus final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QApplication::setCursorFlashTime(0); // a text cursor is always there
    }

    void init()
    {
        failOnUnexpectedWarning();
        m_backend.emplace();
        m_backend->answer("openclaw_runtime_status", {{"os", "x"}});
        m_backend->answer("load_nelo_settings", Json::object());
        m_app = std::make_unique<NeloMenuBarApp>(std::make_unique<FakePlatform>());
        m_app->applicationDidFinishLaunching();
    }

    void cleanup()
    {
        m_app.reset();
        m_backend.reset();
    }

    void showsInTheChat()
    {
        m_app->openNelo();
        verifyThatFocusShows(windowCalled(QStringLiteral("Nelo")));
    }

    void showsInTheSettings()
    {
        m_app->openSettings();
        verifyThatFocusShows(windowCalled(QStringLiteral("Nelo Settings")));
    }

    void showsInTheConsole_data()
    {
        QTest::addColumn<int>("tab");
        QTest::addColumn<bool>("hasRows");
        const QByteArrayList titles{"Agents", "Runtime", "Tovani", "Skills", "Settings"};
        for (int tab = 0; tab < titles.size(); ++tab)
            QTest::addRow("%s", titles.at(tab).constData()) << tab << true;
        QTest::addRow("Agents, of which there are none") << 0 << false;
        QTest::addRow("Skills, of which there are none") << 3 << false;
    }

    void showsInTheConsole()
    {
        QFETCH(int, tab);
        QFETCH(bool, hasRows);
        if (hasRows) {
            m_backend->answer("sync_local_agents_to_core", Json::array({{{"id", "pilot"}, {"ecosystem", "openclaw"}}}));
            m_backend->answer("list_skills", Json::array({{{"name", "weather"}, {"skillKey", "weather"}}}));
        }
        m_app->openNeloConsole();
        NeloWindow* console = windowCalled(QStringLiteral("Nelo Console"));
        console->findChild<QTabWidget*>()->setCurrentIndex(tab);
        for (const JsonTable* table : console->findChildren<JsonTable*>()) {
            if (table->isVisible())
                QCOMPARE(table->model()->rowCount(), hasRows ? 1 : 0);
        }
        verifyThatFocusShows(console);
    }

    void showsInAnAlert()
    {
        bool hasLooked = false;
        QTimer::singleShot(0, this, [&hasLooked] {
            QWidget* alert = QApplication::activeModalWidget();
            verifyThatFocusShows(alert);
            hasLooked = true;
            alert->close();
        });
        showAlert(nullptr, QStringLiteral("Request Failed"), QStringLiteral("A text that can be selected."));
        QVERIFY(hasLooked);
    }

    void showsInTheWindowThatStandsInForTheStatusItem()
    {
        NeloMenuBarApp app(std::make_unique<FakePlatform>(false), std::chrono::milliseconds(0));
        app.applicationDidFinishLaunching();
        QTRY_VERIFY(windowCalled(QStringLiteral("Nelo Launcher")));
        verifyThatFocusShows(windowCalled(QStringLiteral("Nelo Launcher")));
    }

private:
    std::optional<ScriptedBackend> m_backend;
    std::unique_ptr<NeloMenuBarApp> m_app;
};

QTEST_MAIN(TestVisibleFocus)
#include "TestVisibleFocus.moc"
