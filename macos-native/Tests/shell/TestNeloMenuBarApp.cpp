#include "shell/NeloMenuBarApp.h"

#include "backend/NeloBackend.h"
#include "shell/FakePlatform.h"
#include "shell/primitives/NeloWindow.h"
#include "shell/primitives/ViewController.h"
#include "support/Cases.h"
#include "support/ProcessTable.h"
#include "support/ScriptedBackend.h"
#include "support/Warnings.h"
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
#include <QTest>
#include <QTimer>

#include <optional>

using namespace std::chrono_literals;

/// The delegate: status item, menu, windows, end.
class TestNeloMenuBarApp final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        QApplication::setQuitOnLastWindowClosed(false);
        m_backend.emplace();
        m_backend->answer("openclaw_runtime_status", {{"os", "x"}});
        m_backend->answer("load_nelo_settings", Json::object());
        m_app = makeApp();
        m_app->applicationDidFinishLaunching();
    }

    void cleanup()
    {
        m_app.reset();
        m_backend.reset();
    }

    void theMenuHoldsItsItemsInOrder()
    {
        QStringList items;
        for (const QAction* action : menu()->actions())
            items.append(action->isSeparator() ? QStringLiteral("-")
                                               : action->text() + u'|' + action->shortcut().toString());
        QCOMPARE(items, (QStringList{QStringLiteral("Open Nelo|"), QStringLiteral("Open Nelo Console|"),
                                     QStringLiteral("Settings...|Ctrl+,"), QStringLiteral("-"),
                                     QStringLiteral("Quit Nelo|Ctrl+Q")}));
    }

    void thePlatformIsAskedInOrder()
    {
        QCOMPARE(m_platform->calls(), (QStringList{QStringLiteral("accessory"), QStringLiteral("Nelo")}));
        const QStringList forward{QStringLiteral("activate"), QStringLiteral("regular"), QStringLiteral("activate")};
        for (const QString& item : {QStringLiteral("Settings..."), QStringLiteral("Settings...")}) {
            choose(item);
            QCOMPARE(m_platform->calls().last(3), forward);
        }
        windows().value(0)->close();
        QCOMPARE(m_platform->calls().size(), 2 + 2 * 3); // it stays in the Dock
        m_app->comeForward("token");
        QCOMPARE(m_platform->calls().last(4), QStringList{QStringLiteral("token")} + forward);
    }

    void theStatusItemShowsTheSparklesWithoutACustomImage()
    {
        QCOMPARE(m_platform->icon().availableSizes(), {QSize(22, 22)});
    }

    void theStatusItemShowsTheCustomImage()
    {
        QVERIFY(QDir(m_backend->home().path()).mkpath(QStringLiteral("Desktop")));
        QImage image(512, 512, QImage::Format_RGB32);
        image.fill(Qt::red);
        QVERIFY(image.save(m_backend->home().path(QStringLiteral("Desktop/nelo.png"))));
        m_app = makeApp();
        m_app->applicationDidFinishLaunching();
        const QIcon icon = m_platform->icon();
        QCOMPARE(icon.pixmap({64, 64}).size(), QSize(18, 18));
        QCOMPARE(icon.pixmap({18, 18}).toImage().pixelColor(9, 9), QColor(Qt::red));
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

    void theLauncherStandsInForAStatusAreaThatIsNotThere()
    {
        m_app = makeApp(false, 0ms);
        m_app->applicationDidFinishLaunching();
        QVERIFY(windows().isEmpty());
        QTRY_COMPARE(windows().size(), 1);
        const NeloWindow* launcher = windows().value(0);
        QCOMPARE(launcher->windowTitle(), QStringLiteral("Nelo Launcher"));
        QVERIFY(launcher->isVisible());
        QVERIFY(launcher->testAttribute(Qt::WA_ShowWithoutActivating));
        QCOMPARE(launcher->minimumSize(), QSize(240, 200));
        const QList<QPushButton*> buttons = launcher->findChildren<QPushButton*>();
        QCOMPARE(buttons.size(), 4);
        for (const QPushButton* button : buttons) {
            QCOMPARE(button->x(), 16);
            QCOMPARE(button->width(), 240 - 2 * 16);
            QVERIFY(launcher->focusWidget() != button); // what is typed for another program presses none
        }
        m_platform->setHasStatusArea(true);
        QVERIFY(!launcher->isVisible());
        m_platform->setHasStatusArea(false);
        QVERIFY(!launcher->isVisible()); // it waits as long as at the start
        QTRY_VERIFY(launcher->isVisible());
        QCOMPARE(windows().size(), 1);
    }

    void aStatusAreaThatComesInTimeNeedsNoLauncher()
    {
        m_app = makeApp(false, 0ms);
        m_app->applicationDidFinishLaunching();
        m_platform->setHasStatusArea(true);
        m_platform->setHasStatusArea(false);
        m_platform->setHasStatusArea(true);
        QCoreApplication::processEvents(); // every timer that is due has run
        QVERIFY(windows().isEmpty());
        QCOMPARE(NeloMenuBarApp::statusAreaTimeout, 1000ms);
    }

    void theLauncherIsNotShownWhileTheDesktopStarts()
    {
        m_app = makeApp(false, 0ms, 0s);
        m_app->applicationDidFinishLaunching();
        QCoreApplication::processEvents(); // every timer that is due has run
        QVERIFY(windows().isEmpty());
        QCOMPARE(NeloMenuBarApp::sessionStartTimeout, 10s);
    }

    void theLauncherReturnsWhenTheProgramIsStartedAgain()
    {
        m_app = makeApp(false);
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
        choose(QStringLiteral("Settings..."));
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
            showAlert(&window, QStringLiteral("Request Failed"), QStringLiteral("Nothing came."));
        });
        QTimer::singleShot(0, m_app.get(), [this] {
            const QPointer<QWidget> alert = QApplication::activeModalWidget();
            QVERIFY(alert);
            choose(QStringLiteral("Open Nelo"));
            QVERIFY(windows().isEmpty());
            QVERIFY(alert->isVisible());
            choose(QStringLiteral("Quit Nelo"));
        });
        QCOMPARE(QApplication::exec(), 0); // the alert is cancelled
    }

    void windowsOpenAtTheirSmallestSize_data()
    {
        QTest::addColumn<QString>("item");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QSize>("size");
        QTest::newRow("chat") << QStringLiteral("Open Nelo") << QStringLiteral("Nelo") << QSize(980, 740);
        QTest::newRow("console") << QStringLiteral("Open Nelo Console") << QStringLiteral("Nelo Console")
                                 << QSize(1000, 720);
        QTest::newRow("settings") << QStringLiteral("Settings...") << QStringLiteral("Nelo Settings")
                                  << QSize(640, 620);
    }

    void windowsOpenAtTheirSmallestSize()
    {
        QFETCH(QString, item);
        QFETCH(QString, title);
        QFETCH(QSize, size);
        choose(item);
        QCOMPARE(windows().size(), 1);
        NeloWindow* window = windows().value(0);
        QVERIFY(QTest::qWaitForWindowActive(window));
        QCOMPARE(window->windowTitle(), title);
        QCOMPARE(window->size(), size);
        QCOMPARE(window->minimumSize(), size);
    }

    void theSettingsWindowCostsOneBackendCall()
    {
        choose(QStringLiteral("Settings..."));
        QVERIFY(QTest::qWaitForWindowExposed(windows().value(0)));
        QCOMPARE(m_backend->calls().size(), std::size_t(1));
        QCOMPARE(m_backend->count("load_nelo_settings"), 1);
        choose(QStringLiteral("Settings..."));
        QCOMPARE(m_backend->count("load_nelo_settings"), 1);
    }

    void theSettingsWindowAndTabAreTwoViews()
    {
        choose(QStringLiteral("Settings..."));
        choose(QStringLiteral("Open Nelo Console"));
        QList<QLineEdit*> fields;
        for (const NeloWindow* window : windows())
            fields.append(window->findChildren<QLineEdit*>(QStringLiteral("coreURLField")));
        QCOMPARE(fields.size(), 2);
        fields[0]->setText(QStringLiteral("http://edited"));
        QCOMPARE(fields[1]->text(), QString());
    }

    void aSecondChoiceBringsTheSameWindowForward()
    {
        choose(QStringLiteral("Open Nelo Console"));
        NeloWindow* console = windows().value(0);
        choose(QStringLiteral("Settings...")); // the chat would come forward once more by itself
        QCOMPARE(windows().size(), 2);
        QVERIFY(!console->isActiveWindow());
        choose(QStringLiteral("Open Nelo Console"));
        QCOMPARE(windows().size(), 2);
        QVERIFY(QTest::qWaitForWindowActive(console));
        QCOMPARE(m_backend->count("openclaw_runtime_status"), 1);
    }

    void aClosedWindowComesBackAsItWas()
    {
        choose(QStringLiteral("Open Nelo Console"));
        NeloWindow* console = windows().value(0);
        auto* tabs = console->findChild<QTabWidget*>();
        tabs->setCurrentIndex(1);
        console->resize(1200, 800);
        console->close();
        QVERIFY(!console->isVisible());
        choose(QStringLiteral("Open Nelo Console"));
        QVERIFY(console->isVisible());
        QCOMPARE(windows().size(), 1);
        QCOMPARE(tabs->currentIndex(), 1);
        QCOMPARE(console->size(), QSize(1200, 800));
    }

    void whatIsTypedAndNeitherSentNorSavedIsThereAgain_data()
    {
        const Cases<QString, QByteArray> add("item", "field");
        add("a message", QStringLiteral("Open Nelo"), "inputField");
        add("an address", QStringLiteral("Settings..."), "coreURLField");
        add("a key", QStringLiteral("Settings..."), "cloudAPIKeyField");
    }

    void whatIsTypedAndNeitherSentNorSavedIsThereAgain()
    {
        QFETCH(QString, item);
        QFETCH(QByteArray, field);
        choose(item);
        NeloWindow* window = windows().value(0);
        auto* typed = window->findChild<QLineEdit*>(QString::fromLatin1(field));
        typed->setText(QStringLiteral(" draft"));
        window->close();
        choose(item);
        QVERIFY(window->isVisible());
        QCOMPARE(typed->text(), QStringLiteral(" draft"));
    }

    void windowsNeverShrinkBelowTheirFirstSize()
    {
        choose(QStringLiteral("Settings..."));
        NeloWindow* settings = windows().value(0);
        settings->resize(10, 10);
        QCOMPARE(settings->size(), QSize(640, 620));
    }

    void shortcutsWorkWhileTheMenuIsOpen_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<bool>("quits");
        QTest::newRow("Control-comma opens the settings") << static_cast<int>(Qt::Key_Comma) << false;
        QTest::newRow("Control-Q quits") << static_cast<int>(Qt::Key_Q) << true;
    }

    void shortcutsWorkWhileTheMenuIsOpen()
    {
        QFETCH(int, key);
        QFETCH(bool, quits);
        const QSignalSpy quitting(qApp, &QCoreApplication::aboutToQuit);
        menu()->popup({100, 100});
        QTimer::singleShot(0, menu(), [this, key, quits] {
            QTest::keyClick(menu(), static_cast<Qt::Key>(key), Qt::ControlModifier);
            QVERIFY(!menu()->isVisible());
            if (!quits)
                QCoreApplication::quit();
        });
        QApplication::exec();
        QVERIFY(!menu()->isVisible());
        QCOMPARE(quitting.count(), 1);
        QCOMPARE(windows().size(), quits ? 0 : 1);
    }

    void otherKeysMoveInTheMenu()
    {
        menu()->popup({100, 100});
        QTest::keyClick(menu(), Qt::Key_Down);
        QCOMPARE(menu()->activeAction()->text(), QStringLiteral("Open Nelo"));
        QTest::keyClick(menu(), Qt::Key_Comma); // without Control
        QKeyEvent unmapped(QEvent::KeyPress, 0, Qt::NoModifier);
        QCoreApplication::sendEvent(menu(), &unmapped);
        QVERIFY(windows().isEmpty());
        QTest::keyClick(menu(), Qt::Key_Escape);
        QVERIFY(!menu()->isVisible());
    }

    void quittingEndsTheEventLoop()
    {
        choose(QStringLiteral("Open Nelo Console"));
        QTimer::singleShot(0, m_app.get(), [this] { choose(QStringLiteral("Quit Nelo")); });
        QCOMPARE(QApplication::exec(), 0);
    }

    void terminatingEndsTheHelper()
    {
        choose(QStringLiteral("Open Nelo Console"));
        QCOMPARE(ProcessTable::children().size(), 1U);
        m_app->applicationWillTerminate();
        QVERIFY(ProcessTable::children().empty());
    }

private:
    /// Makes a program on `m_platform`, which it owns.
    std::unique_ptr<NeloMenuBarApp> makeApp(bool hasStatusArea = true, std::chrono::milliseconds timeout = 1min,
                                            std::chrono::milliseconds sessionAge = 1h)
    {
        auto platform = std::make_unique<FakePlatform>(hasStatusArea, sessionAge);
        m_platform = platform.get();
        return std::make_unique<NeloMenuBarApp>(std::move(platform), timeout);
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

    std::optional<ScriptedBackend> m_backend;
    std::unique_ptr<NeloMenuBarApp> m_app;
    FakePlatform* m_platform = nullptr; // m_app owns it
};

QTEST_MAIN(TestNeloMenuBarApp)
#include "TestNeloMenuBarApp.moc"
