#include "shell/NeloMenuBarApp.h"

#include "shell/FakePlatform.h"
#include "shell/primitives/NeloWindow.h"
#include "shell/primitives/ViewController.h"
#include "support/CaseTable.h"
#include "support/Controls.h"
#include "support/ProcessTable.h"
#include "support/ScriptedBackend.h"
#include "support/TestCase.h"
#include "ui/Alerts.h"
#include "ui/Colors.h"

#include <QApplication>
#include <QDir>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The application delegate: the status item, the menu, the windows, and the end of the program.
class TestNeloMenuBarApp final : public TestCase
{
    Q_OBJECT

private slots:
    void init() override
    {
        TestCase::init();
        QApplication::setQuitOnLastWindowClosed(false);
        m_backend->answer("openclaw_runtime_status", {{"os", "x"}});
        m_backend->answer("load_nelo_settings", Json::object());
        launch();
    }

    void cleanup() override
    {
        m_app.reset();
        TestCase::cleanup();
    }

    void theMenuHoldsItsItemsInOrder()
    {
        QStringList items;
        for (const QAction* action : menu()->actions())
            items.append(action->isSeparator() ? u"-"_s : action->text() + u'|' + action->shortcut().toString());
        QCOMPARE(items, (QStringList{u"Open Nelo|"_s, u"Open Nelo Console|"_s, u"Settings...|Ctrl+,"_s, u"-"_s,
                                     u"Quit Nelo|Ctrl+Q"_s}));
    }

    void thePlatformIsCalledInOrder()
    {
        QCOMPARE(m_platform->calls(), (QStringList{u"accessory"_s, u"Nelo"_s}));
        const QStringList forward{u"activate"_s, u"regular"_s, u"activate"_s};
        for (const QString& item : {u"Settings..."_s, u"Settings..."_s}) {
            choose(item);
            QCOMPARE(m_platform->calls().last(3), forward);
        }
        windows().value(0)->close();
        QCOMPARE(m_platform->calls().size(), 2 + 2 * 3); // closing a window does not remove the program from the Dock
        m_app->comeForward("token");
        QCOMPARE(m_platform->calls().last(4), QStringList{u"token"_s} + forward);
    }

    void theStatusItemShowsTheSparklesOrTheCustomImage()
    {
        QCOMPARE(m_platform->icon().availableSizes(), {QSize(22, 22)});
        QVERIFY(QDir(m_backend->home().path()).mkpath(u"Desktop"_s));
        QVERIFY(QPixmap(512, 512).save(m_backend->home().path(u"Desktop/nelo.png"_s)));
        launch();
        QCOMPARE(m_platform->icon().pixmap({64, 64}).size(), QSize(18, 18));
    }

    void theWindowsFollowTheColorScheme()
    {
        const auto isDark = [](const QWidget* window) {
            return Colors::isDark(window->findChild<ViewController*>()->palette());
        };
        for (const char* item : {"Open Nelo", "Open Nelo Console", "Settings..."})
            choose(QString::fromLatin1(item));
        for (const ColorScheme scheme :
             {ColorScheme::Dark, ColorScheme::Unknown, ColorScheme::Dark, ColorScheme::Light}) {
            m_platform->setColorScheme(scheme);
            QCoreApplication::processEvents(); // Qt tells the windows by a posted event
            for (const NeloWindow* window : windows()) {
                const bool isSettings = window->windowTitle() == QStringLiteral("Nelo Settings");
                QCOMPARE(isDark(window),
                         isSettings && scheme == ColorScheme::Dark); // the others have colors of their own
            }
            QCOMPARE(Colors::isDark(menu()->palette()), scheme == ColorScheme::Dark);
        }
    }

    void nothingElseStartsAtLaunch()
    {
        QCoreApplication::processEvents();
        QVERIFY(windows().isEmpty());
        QVERIFY(ProcessTable::children().empty());
        QVERIFY(m_backend->calls().empty());
        QVERIFY(m_app->findChildren<QTimer*>().isEmpty());
    }

    void theLauncherReplacesAMissingStatusArea()
    {
        launch(false, 0ms);
        QVERIFY(windows().isEmpty());
        QTRY_COMPARE(windows().size(), 1);
        const NeloWindow* launcher = windows().value(0);
        QCOMPARE(launcher->windowTitle(), u"Nelo Launcher"_s);
        QVERIFY(launcher->isVisible());
        QVERIFY(launcher->testAttribute(Qt::WA_ShowWithoutActivating));
        QCOMPARE(launcher->minimumSize(), QSize(240, 200));
        const QList<QPushButton*> buttons = launcher->findChildren<QPushButton*>();
        QCOMPARE(buttons.size(), 4);
        for (const QPushButton* button : buttons) {
            QCOMPARE(button->x(), 16);
            QCOMPARE(button->width(), 240 - 2 * 16);
            QVERIFY(launcher->focusWidget() != button); // keys that are typed for another program press no button
        }
        m_platform->setHasStatusArea(true);
        QVERIFY(!launcher->isVisible());
        m_platform->setHasStatusArea(false);
        QVERIFY(!launcher->isVisible()); // it waits as long as after the launch
        QTRY_VERIFY(launcher->isVisible());
        QCOMPARE(windows().size(), 1);
    }

    void theLauncherWaitsForAStatusAreaAndLongerWhileTheDesktopStarts()
    {
        launch(false, 0ms);
        for (const bool hasStatusArea : {true, false, true})
            m_platform->setHasStatusArea(hasStatusArea);
        QCoreApplication::processEvents(); // every timer that is due has run
        QVERIFY(windows().isEmpty());
        launch(false, 0ms, 0s);
        QCoreApplication::processEvents();
        QVERIFY(windows().isEmpty());
        QCOMPARE(NeloMenuBarApp::statusAreaTimeout, 1000ms);
        QCOMPARE(NeloMenuBarApp::sessionStartTimeout, 10s);
    }

    void theLauncherReturnsWhenTheProgramIsStartedAgain()
    {
        makeApp(false, 1min, 1h);
        m_app->comeForward({}); // before launching has finished
        m_app->applicationDidFinishLaunching();
        m_app->comeForward({});
        QCOMPARE(windows().size(), 2);
        for (NeloWindow* window : windows())
            window->close();
        m_app->comeForward({});
        for (const NeloWindow* window : windows())
            QVERIFY(window->isVisible());
    }

    void aReopenedApplicationShowsAWindowThatIsOpenOrElseTheChat()
    {
        choose(u"Settings..."_s);
        NeloWindow* settings = windows().value(0);
        settings->showMinimized();
        emit m_platform->reopened();
        QCOMPARE(windows().size(), 1);
        QVERIFY(!settings->isMinimized());
        settings->close();
        emit m_platform->reopened();
        QCOMPARE(windows().size(), 2);
        QVERIFY(!settings->isVisible());
    }

    void anOpenAlertComesForwardInPlaceOfAWindow()
    {
        QTimer::singleShot(0, m_app.get(), [] {
            QWidget window;
            showAlert(&window, u"Request Failed"_s, u"Nothing came."_s);
        });
        QTimer::singleShot(0, m_app.get(), [this] {
            const QPointer<QWidget> alert = QApplication::activeModalWidget();
            QVERIFY(alert);
            choose(u"Open Nelo"_s);
            QVERIFY(windows().isEmpty());
            QVERIFY(alert->isVisible());
            choose(u"Quit Nelo"_s);
        });
        QCOMPARE(QApplication::exec(), 0); // the alert is cancelled
    }

    void windowsOpenAtTheirSmallestSize()
    {
        const CaseTable<QString, QString, QSize> cases{
            {"chat", u"Open Nelo"_s, u"Nelo"_s, {980, 740}},
            {"console", u"Open Nelo Console"_s, u"Nelo Console"_s, {1000, 720}},
            {"settings", u"Settings..."_s, u"Nelo Settings"_s, {640, 620}},
        };
        for (const auto& [item, title, size] : cases) {
            choose(item);
            QWidget* window = nullptr;
            QTRY_VERIFY((window = QApplication::activeWindow()) && window->windowTitle() == title);
            QCOMPARE(window->size(), size);
            QCOMPARE(window->minimumSize(), size);
            window->close();
        }
        QCOMPARE(windows().size(), 3);
    }

    void theSettingsWindowCostsOneBackendCall()
    {
        choose(u"Settings..."_s);
        QVERIFY(QTest::qWaitForWindowExposed(windows().value(0)));
        QCOMPARE(m_backend->calls().size(), std::size_t(1));
        QCOMPARE(m_backend->count("load_nelo_settings"), 1);
        choose(u"Settings..."_s);
        QCOMPARE(m_backend->count("load_nelo_settings"), 1);
    }

    void theSettingsWindowAndTabAreTwoViews()
    {
        choose(u"Settings..."_s);
        auto* inWindow = Controls::named<QLineEdit>(*windows().value(0), u"Core URL (optional)"_s);
        choose(u"Open Nelo Console"_s);
        QCOMPARE(m_backend->count("load_nelo_settings"), 2);
        inWindow->setText(u"http://edited"_s);
        for (const NeloWindow* window : windows()) {
            const auto* field = Controls::named<QLineEdit>(*window, u"Core URL (optional)"_s);
            QCOMPARE(field->text(), field == inWindow ? u"http://edited"_s : QString());
        }
    }

    void aSecondChoiceBringsTheSameWindowForward()
    {
        choose(u"Open Nelo Console"_s);
        NeloWindow* console = windows().value(0);
        choose(u"Settings..."_s); // the chat would come forward again by itself
        QCOMPARE(windows().size(), 2);
        QVERIFY(!console->isActiveWindow());
        choose(u"Open Nelo Console"_s);
        QCOMPARE(windows().size(), 2);
        QVERIFY(QTest::qWaitForWindowActive(console));
        QCOMPARE(m_backend->count("openclaw_runtime_status"), 1);
    }

    void aClosedWindowComesBackAsItWas()
    {
        choose(u"Open Nelo Console"_s);
        NeloWindow* console = windows().value(0);
        auto* tabs = console->findChild<QTabWidget*>();
        tabs->setCurrentIndex(1);
        console->resize(1200, 800);
        console->close();
        QVERIFY(!console->isVisible());
        choose(u"Open Nelo Console"_s);
        QVERIFY(console->isVisible());
        QCOMPARE(windows().size(), 1);
        QCOMPARE(tabs->currentIndex(), 1);
        QCOMPARE(console->size(), QSize(1200, 800));
    }

    void aClosedWindowKeepsWhatWasTyped()
    {
        const CaseTable<QString, QString> cases{
            {"a message", u"Open Nelo"_s, u"inputField"_s},
            {"an address", u"Settings..."_s, u"coreURLField"_s},
            {"a key", u"Settings..."_s, u"cloudAPIKeyField"_s},
        };
        for (const auto& [item, field] : cases) {
            restart();
            choose(item);
            NeloWindow* window = windows().value(0);
            auto* typed = window->findChild<QLineEdit*>(field);
            typed->setText(u" draft"_s);
            window->close();
            choose(item);
            QVERIFY(window->isVisible());
            QCOMPARE(typed->text(), u" draft"_s);
        }
    }

    void shortcutsWorkWhileTheMenuIsOpen()
    {
        const QSignalSpy quitting(qApp, &QCoreApplication::aboutToQuit);
        menu()->popup({100, 100});
        QTest::keyClick(menu(), Qt::Key_Comma, Qt::ControlModifier);
        QVERIFY(!menu()->isVisible());
        QCOMPARE(windows().value(0)->windowTitle(), u"Nelo Settings"_s);
        menu()->popup({100, 100});
        QTimer::singleShot(0, menu(), [this] { QTest::keyClick(menu(), Qt::Key_Q, Qt::ControlModifier); });
        QApplication::exec(); // ends by the shortcut
        QVERIFY(!menu()->isVisible());
        QCOMPARE(quitting.count(), 1);
        QCOMPARE(windows().size(), 1);
    }

    void otherKeysMoveInTheMenu()
    {
        menu()->popup({100, 100});
        QTest::keyClick(menu(), Qt::Key_Down);
        QCOMPARE(menu()->activeAction()->text(), u"Open Nelo"_s);
        QTest::keyClick(menu(), Qt::Key_Comma); // without Control
        QKeyEvent unmapped(QEvent::KeyPress, 0, Qt::NoModifier);
        QCoreApplication::sendEvent(menu(), &unmapped);
        QVERIFY(windows().isEmpty());
        QTest::keyClick(menu(), Qt::Key_Escape);
        QVERIFY(!menu()->isVisible());
    }

    void terminatingEndsTheHelper()
    {
        choose(u"Open Nelo Console"_s);
        QCOMPARE(ProcessTable::children().size(), 1U);
        m_app->applicationWillTerminate();
        QVERIFY(ProcessTable::children().empty());
    }

private:
    void makeApp(bool hasStatusArea, std::chrono::milliseconds timeout, std::chrono::milliseconds sessionAge)
    {
        auto platform = std::make_unique<FakePlatform>(hasStatusArea, sessionAge);
        m_platform = platform.get();
        m_app = std::make_unique<NeloMenuBarApp>(std::move(platform), timeout);
    }

    /// Starts the program anew.
    void launch(bool hasStatusArea = true, std::chrono::milliseconds timeout = 1min,
                std::chrono::milliseconds sessionAge = 1h)
    {
        makeApp(hasStatusArea, timeout, sessionAge);
        m_app->applicationDidFinishLaunching();
    }

    QMenu* menu() const { return m_platform->menu(); }

    void choose(const QString& item) const
    {
        for (QAction* action : menu()->actions()) {
            if (action->text() == item)
                action->trigger();
        }
    }

    static QList<NeloWindow*> windows()
    {
        QList<NeloWindow*> found;
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (auto* window = qobject_cast<NeloWindow*>(widget))
                found.append(window);
        }
        return found;
    }

    Fresh<ScriptedBackend> m_backend{this};
    std::unique_ptr<NeloMenuBarApp> m_app;
    FakePlatform* m_platform = nullptr; // m_app owns it
};

QTEST_MAIN(TestNeloMenuBarApp)
#include "TestNeloMenuBarApp.moc"
