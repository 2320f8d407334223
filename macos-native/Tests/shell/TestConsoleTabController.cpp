#include "shell/ConsoleTabController.h"

#include "shell/primitives/NeloWindow.h"
#include "support/ScriptedBackend.h"
#include "support/TestCase.h"
#include "ui/Colors.h"
#include "ui/Labels.h"

#include <QAccessible>
#include <QDesktopServices>
#include <QLabel>
#include <QScrollArea>
#include <QStackedWidget>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>

using namespace Qt::StringLiterals;

/// The console's container: banner and tabs.
class TestConsoleTabController final : public TestCase
{
    Q_OBJECT

public slots:
    void openedUrl(const QUrl& url) { m_openedUrls.append(url); }

private slots:
    void init() override
    {
        TestCase::init();
        m_backend->answer("openclaw_runtime_status", {{"os", "x"}});
        m_backend->answer("load_nelo_settings", Json::object());
        m_backend->answer("list_skills", Json::array());
        m_controller->resize(1000, 720);
    }

    void theTabsStandInOrder()
    {
        m_controller->loadViewIfNeeded();
        QStringList labels;
        for (int tab = 0; tab < tabs()->count(); ++tab)
            labels.append(tabs()->tabText(tab));
        QCOMPARE(labels, (QStringList{u"Agents"_s, u"Runtime"_s, u"Tovani"_s, u"Skills"_s, u"Settings"_s}));
        QCOMPARE(tabs()->tabText(tabs()->currentIndex()), u"Agents"_s);
    }

    void thePagesAreAPaneForAScreenReader()
    {
        m_controller->loadViewIfNeeded();
        auto* pages = tabs()->findChild<QStackedWidget*>();
        QCOMPARE(QAccessible::queryAccessibleInterface(pages)->role(), QAccessible::Pane);
    }

    void allTabsLoadOnceBeforeTheConsoleIsShown()
    {
        const auto verifyThatAllLoadedOnce = [this] {
            for (const char* function : {"openclaw_runtime_status", "load_nelo_settings", "list_skills"})
                QCOMPARE(m_backend->count(function), 1);
        };
        m_controller->loadViewIfNeeded();
        verifyThatAllLoadedOnce();
        show();
        for (int tab = 0; tab < tabs()->count(); ++tab) {
            QVERIFY(!tabs()->widget(tab)->findChildren<QLabel*>().isEmpty());
            tabs()->setCurrentIndex(tab);
            QCoreApplication::processEvents();
        }
        verifyThatAllLoadedOnce();
    }

    void theAgentsAreListedBeforeTheConsoleIsInFront()
    {
        m_backend->answer("sync_local_agents_to_core", {{{"id", "a"}}, {{"id", "b"}}});
        NeloWindow window(u"Nelo Console"_s, {1000, 720});
        auto* console = new ConsoleTabController; // the window's
        window.setContentViewController(console);
        QCOMPARE(m_backend->count("sync_local_agents_to_core"), 1);
        const QWidget* agents = console->findChild<QTabWidget*>()->widget(0);
        QCOMPARE(agents->findChild<QTableView*>(u"tableView"_s)->model()->rowCount(), 2);
    }

    void theTabsHaveTheKeyboardAtFirst()
    {
        m_controller->show();
        QVERIFY(QTest::qWaitForWindowActive(&*m_controller));
        QVERIFY(tabs()->tabBar()->hasFocus());
    }

    void theTovaniTabSaysWhatItIsFor()
    {
        m_controller->loadViewIfNeeded();
        QStringList texts;
        for (const QLabel* label : tabs()->widget(tovaniTab)->findChildren<QLabel*>())
            texts.append(label->text());
        QCOMPARE(texts,
                 (QStringList{u"Tovani"_s, u"Manage per-agent knowledge and memory sources (datasets, indexes, "
                                           "versions). This tab is kept as a structural placeholder and will host "
                                           "indexing tasks and status monitoring next."_s}));
    }

    void theBannerIntroducesTheProductAndCanBeSelected()
    {
        show();
        QCOMPARE(banner()->accessibleName(), u"Nelo为您提供最简单的AI入口服务。客服请联系我们：nelo.example"_s);
        QCOMPARE(banner()->text(), makeSupportLine(13, &*m_controller)->text());
        QCOMPARE(banner()->alignment(), Qt::AlignCenter);
        QVERIFY(banner()->textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
        QVERIFY(banner()->textInteractionFlags().testFlag(Qt::TextSelectableByKeyboard));
        QVERIFY(!banner()->textInteractionFlags().testFlag(Qt::TextEditable));
        banner()->setFocus();
        QTest::keySequence(banner(), QKeySequence::SelectAll);
        QCOMPARE(banner()->selectedText(), banner()->accessibleName());
    }

    void theLinkOpensTheMakersAddress()
    {
        QDesktopServices::setUrlHandler(u"https"_s, this, "openedUrl");
        show();
        banner()->setFocus();
        QTest::keyClick(banner(), Qt::Key_Tab);
        QTest::keyClick(banner(), Qt::Key_Return);
        const int textWidth = banner()->sizeHint().width();
        const QPoint insideLink((banner()->width() + textWidth) / 2 - 20, banner()->height() / 2);
        QTest::mouseClick(banner(), Qt::LeftButton, {}, insideLink);
        QCOMPARE(m_openedUrls, QList<QUrl>(2, QUrl(u"https://nelo.example/support"_s)));
    }

    void theTabsGetAllRemainingSpace()
    {
        show();
        QVERIFY(tabs()->documentMode()); // no frame
        for (const QSize size : {QSize(1000, 720), QSize(1400, 900)}) {
            m_controller->resize(size);
            QCoreApplication::processEvents();
            const int height = banner()->height();
            QCOMPARE(banner()->geometry(), QRect(20, 12, size.width() - 2 * 20, height));
            QCOMPARE(tabs()->geometry(), QRect(QPoint(), size).adjusted(0, 12 + height + 10, 0, 0));
        }
    }

    void thePageThatIsShownHasItsRoomAndTheOthersNeedNone()
    {
        auto* console = new ConsoleTabController;
        QScrollArea window;
        window.setWidgetResizable(true);
        window.setWidget(console);
        window.resize(100, 100);
        window.show();
        auto* pages = console->findChild<QTabWidget*>();
        for (const int tab : {skillsTab, tovaniTab, 0, skillsTab}) {
            pages->setCurrentIndex(tab);
            const QWidget* page = pages->currentWidget();
            QTRY_VERIFY(page->width() >= page->minimumSizeHint().width());
            QTRY_VERIFY(page->height() >= page->minimumSizeHint().height());
            QTRY_VERIFY(page->height() >= page->heightForWidth(page->width()));
        }
        const int heightWithSkills = console->height();
        pages->setCurrentIndex(tovaniTab);
        QTRY_VERIFY(console->height() < heightWithSkills);
    }

    void theBackgroundIsLightUnderADarkTheme()
    {
        const QPalette before = QApplication::palette();
        QApplication::setPalette(QPalette(QColor(49, 54, 59)));
        show();
        const QImage picture = m_controller->grab().toImage();
        QCOMPARE(picture.pixel(2, 2), Colors::white(0.97).rgb());
        QVERIFY(tabs()->widget(tovaniTab)->findChild<QLabel*>()->palette().color(QPalette::WindowText).lightness()
                < 100);
        QApplication::setPalette(before);
    }

private:
    static constexpr int tovaniTab = 2;
    static constexpr int skillsTab = 3;

    QTabWidget* tabs() const { return m_controller->findChild<QTabWidget*>(u"tabView"_s); }
    QLabel* banner() const { return m_controller->findChild<QLabel*>(u"banner"_s); }

    void show()
    {
        m_controller->show();
        QVERIFY(QTest::qWaitForWindowExposed(&*m_controller));
    }

    Fresh<ScriptedBackend> m_backend{this};
    Fresh<ConsoleTabController> m_controller{this};
    QList<QUrl> m_openedUrls;
};

QTEST_MAIN(TestConsoleTabController)
#include "TestConsoleTabController.moc"
