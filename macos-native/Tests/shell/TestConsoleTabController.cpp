#include "shell/ConsoleTabController.h"

#include "shell/primitives/NeloWindow.h"
#include "support/ScriptedBackend.h"
#include "support/Warnings.h"
#include "ui/Colors.h"

#include <QDesktopServices>
#include <QLabel>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>
#include <QTest>

#include <optional>

/// The console's container: banner and tabs.
class TestConsoleTabController final : public QObject
{
    Q_OBJECT

public slots:
    void openedUrl(const QUrl& url) { m_openedUrls.append(url); }

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_backend.emplace();
        m_backend->answer("openclaw_runtime_status", {{"os", "x"}});
        m_backend->answer("load_nelo_settings", Json::object());
        m_backend->answer("list_skills", Json::array());
        m_controller = std::make_unique<ConsoleTabController>();
        m_controller->resize(1000, 720);
        m_openedUrls.clear();
        QDesktopServices::setUrlHandler(QStringLiteral("https"), this, "openedUrl");
    }

    void cleanup()
    {
        QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
        m_controller.reset();
        m_backend.reset();
    }

    void theTabsStandInOrder()
    {
        m_controller->loadViewIfNeeded();
        QStringList labels;
        for (int tab = 0; tab < tabs()->count(); ++tab)
            labels.append(tabs()->tabText(tab));
        QCOMPARE(labels, (QStringList{QStringLiteral("Agents"), QStringLiteral("Runtime"), QStringLiteral("Tovani"),
                                      QStringLiteral("Skills"), QStringLiteral("Settings")}));
        QCOMPARE(tabs()->tabText(tabs()->currentIndex()), QStringLiteral("Agents"));
    }

    void allTabsLoadBeforeTheConsoleIsShown()
    {
        m_controller->loadViewIfNeeded();
        QCOMPARE(m_backend->count("openclaw_runtime_status"), 1);
        QCOMPARE(m_backend->count("load_nelo_settings"), 1);
        QCOMPARE(m_backend->count("list_skills"), 1);
        for (int tab = 0; tab < tabs()->count(); ++tab)
            QVERIFY(!tabs()->widget(tab)->findChildren<QLabel*>().isEmpty());
    }

    void theAgentsAreListedBeforeTheConsoleIsInFront()
    {
        m_backend->answer("sync_local_agents_to_core", {{{"id", "a"}}, {{"id", "b"}}});
        NeloWindow window(QStringLiteral("Nelo Console"), {1000, 720});
        auto* console = new ConsoleTabController; // the window's
        window.setContentViewController(console);
        QCOMPARE(m_backend->count("sync_local_agents_to_core"), 1);
        const QWidget* agents = console->findChild<QTabWidget*>()->widget(0);
        QCOMPARE(agents->findChild<QTableView*>(QStringLiteral("tableView"))->model()->rowCount(), 2);
    }

    void selectingATabLoadsNothingAgain()
    {
        show();
        for (int tab = 0; tab < tabs()->count(); ++tab) {
            tabs()->setCurrentIndex(tab);
            QCoreApplication::processEvents();
        }
        QCOMPARE(m_backend->count("openclaw_runtime_status"), 1);
        QCOMPARE(m_backend->count("load_nelo_settings"), 1);
        QCOMPARE(m_backend->count("list_skills"), 1);
    }

    void theSelectedTabIsKeptWhileTheWindowIsClosed()
    {
        show();
        tabs()->setCurrentIndex(2);
        m_controller->close();
        show();
        QCOMPARE(tabs()->currentIndex(), 2);
    }

    void theTabsHaveTheKeyboardAtFirst()
    {
        m_controller->show();
        QVERIFY(QTest::qWaitForWindowActive(m_controller.get()));
        QVERIFY(tabs()->tabBar()->hasFocus());
    }

    void theTovaniTabSaysWhatItIsFor()
    {
        m_controller->loadViewIfNeeded();
        QStringList texts;
        for (const QLabel* label : tabs()->widget(2)->findChildren<QLabel*>())
            texts.append(label->text());
        QCOMPARE(texts,
                 (QStringList{QStringLiteral("Tovani"),
                              QStringLiteral("Manage per-agent knowledge and memory sources (datasets, indexes, "
                                             "versions). This tab is kept as a structural placeholder and will host "
                                             "indexing tasks and status monitoring next.")}));
    }

    void theBannerIntroducesTheProduct()
    {
        m_controller->loadViewIfNeeded();
        QCOMPARE(banner()->accessibleName(),
                 QStringLiteral("Nelo为您提供最简单的AI入口服务。客服请联系我们：nelo.example"));
        QCOMPARE(banner()->alignment(), Qt::AlignCenter);
        show();
        banner()->setFocus();
        QTest::keySequence(banner(), QKeySequence::SelectAll);
        QCOMPARE(banner()->selectedText(), banner()->accessibleName());
    }

    void theBannerCanBeSelectedButNotEdited()
    {
        m_controller->loadViewIfNeeded();
        QVERIFY(banner()->textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
        QVERIFY(banner()->textInteractionFlags().testFlag(Qt::TextSelectableByKeyboard));
        QVERIFY(!banner()->textInteractionFlags().testFlag(Qt::TextEditable));
    }

    void theLinkOpensTheMakersAddress_data()
    {
        QTest::addColumn<bool>("withMouse");
        QTest::newRow("by mouse") << true;
        QTest::newRow("by keyboard") << false;
    }

    void theLinkOpensTheMakersAddress()
    {
        QFETCH(bool, withMouse);
        show();
        if (withMouse) {
            const int textWidth = banner()->sizeHint().width();
            const QPoint insideLink((banner()->width() + textWidth) / 2 - 20, banner()->height() / 2);
            QTest::mouseClick(banner(), Qt::LeftButton, {}, insideLink);
        } else {
            banner()->setFocus();
            QTest::keyClick(banner(), Qt::Key_Tab);
            QTest::keyClick(banner(), Qt::Key_Return);
        }
        QCOMPARE(m_openedUrls, QList<QUrl>{QUrl(QStringLiteral("https://nelo.example/support"))});
    }

    void theTabsGetAllRemainingSpace()
    {
        show();
        QVERIFY(tabs()->documentMode()); // no frame
        for (const QSize size : {QSize(1000, 720), QSize(1400, 900)}) {
            m_controller->resize(size);
            QCoreApplication::processEvents();
            QCOMPARE(banner()->geometry().left(), 20);
            QCOMPARE(banner()->geometry().right() + 1, size.width() - 20);
            QCOMPARE(banner()->geometry().top(), 12);
            QCOMPARE(tabs()->geometry().left(), 0);
            QCOMPARE(tabs()->geometry().right() + 1, size.width());
            QCOMPARE(tabs()->geometry().top(), banner()->geometry().bottom() + 1 + 10);
            QCOMPARE(tabs()->geometry().bottom() + 1, size.height());
        }
    }

    void theBackgroundIsLightUnderADarkTheme()
    {
        const QPalette before = QApplication::palette();
        QApplication::setPalette(QPalette(QColor(49, 54, 59)));
        show();
        const QImage picture = m_controller->grab().toImage();
        QCOMPARE(picture.pixel(2, 2), Colors::white(0.97).rgb());
        QVERIFY(tabs()->widget(2)->findChild<QLabel*>()->palette().color(QPalette::WindowText).lightness() < 100);
        QApplication::setPalette(before);
    }

private:
    QTabWidget* tabs() const { return m_controller->findChild<QTabWidget*>(QStringLiteral("tabView")); }
    QLabel* banner() const { return m_controller->findChild<QLabel*>(QStringLiteral("banner")); }

    void show()
    {
        m_controller->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_controller.get()));
    }

    std::optional<ScriptedBackend> m_backend;
    std::unique_ptr<ConsoleTabController> m_controller;
    QList<QUrl> m_openedUrls;
};

QTEST_MAIN(TestConsoleTabController)
#include "TestConsoleTabController.moc"
