#include "shell/primitives/NeloWindow.h"

#include "shell/primitives/PlaceholderInfoController.h"
#include "support/TestCase.h"

#include <QAccessible>
#include <QGuiApplication>
#include <QLineEdit>
#include <QPointer>
#include <QScreen>
#include <QSignalSpy>

#include <memory>

using namespace Qt::StringLiterals;

/// The class of the three windows.
class TestNeloWindow final : public TestCase
{
    Q_OBJECT

private slots:
    void startsAtItsSmallestSizeInTheMiddleOfTheScreen()
    {
        const NeloWindow window(u"Nelo & <b>Co</b>"_s, {640, 480});
        QCOMPARE(window.windowTitle(), u"Nelo & <b>Co</b>"_s);
        QCOMPARE(window.size(), QSize(640, 480));
        QCOMPARE(window.minimumSize(), QSize(640, 480));
        const QPoint offCentre =
            window.geometry().center() - QGuiApplication::primaryScreen()->availableGeometry().center();
        QVERIFY(offCentre.manhattanLength() <= 24); // there is room for the frame, because the window is not shown yet
    }

    void contentDoesNotChangeTheSmallestSize()
    {
        NeloWindow window(QString(), {300, 200});
        window.setContentViewController(
            new PlaceholderInfoController(QString(2'000, u'W'), u"word "_s.repeated(20'000)));
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(window.minimumSize(), QSize(300, 200));
        QCOMPARE(window.size(), QSize(300, 200));
        const auto* content = window.findChild<PlaceholderInfoController*>();
        QCOMPARE(content->width(), content->parentWidget()->width()); // it wraps, and scrolls only vertically
        QVERIFY(content->height() > window.height());
    }

    void canBeClosedMinimisedAndResized()
    {
        NeloWindow window(QString(), {300, 200});
        QVERIFY(window.windowFlags().testFlag(Qt::Window));
        // The window manager draws its usual frame with all buttons.
        QVERIFY(!window.windowFlags().testFlag(Qt::CustomizeWindowHint));
        window.resize(500, 400);
        QCOMPARE(window.size(), QSize(500, 400));
        window.resize(100, 100);
        QCOMPARE(window.size(), QSize(300, 200));
    }

    void comesForwardWithTheKeyboard()
    {
        NeloWindow first(u"first"_s, {300, 200});
        NeloWindow second(u"second"_s, {300, 200});
        first.makeKeyAndOrderFront();
        QVERIFY(QTest::qWaitForWindowActive(&first));
        second.makeKeyAndOrderFront();
        QVERIFY(QTest::qWaitForWindowActive(&second));
        first.makeKeyAndOrderFront();
        QVERIFY(QTest::qWaitForWindowActive(&first));
        QVERIFY(second.isVisible());
    }

    void comesBackWhenMinimised()
    {
        NeloWindow window(QString(), {300, 200});
        window.showMinimized();
        window.makeKeyAndOrderFront();
        QVERIFY(!window.isMinimized());
        QVERIFY(window.isVisible());

        window.showMaximized();
        window.setWindowState(window.windowState() | Qt::WindowMinimized);
        window.makeKeyAndOrderFront();
        QVERIFY(window.isMaximized()); // as it was before it was minimised
    }

    void closingHidesItAndDeletingItDeletesItsContent()
    {
        auto window = std::make_unique<NeloWindow>(QString(), QSize(300, 200));
        const QPointer<ViewController> content(new PlaceholderInfoController(u"x"_s));
        window->setContentViewController(content);
        QCOMPARE(content->window(), window.get());
        window->show();
        window->close();
        QVERIFY(!window->isVisible());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(content);
        window.reset();
        QVERIFY(!content);
    }

    void aChangeOfFocusIsSignalledOnceAfterItWasOpenedOften()
    {
        NeloWindow window(QString(), {300, 200});
        auto* one = new QLineEdit(&window);
        auto* other = new QLineEdit(&window);
        for (int time = 0; time < 5; ++time) {
            window.makeKeyAndOrderFront();
            QVERIFY(QTest::qWaitForWindowActive(&window));
            window.close();
            QTRY_VERIFY(!window.isActiveWindow());
        }
        window.makeKeyAndOrderFront();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        one->setFocus();
        const QSignalSpy changes(qApp, &QGuiApplication::focusObjectChanged);
        other->setFocus();
        QCOMPARE(changes.size(), 1);
    }

    void theKeyThatClosesAWindowClosesIt()
    {
        NeloWindow window(QString(), {300, 200});
        QLineEdit field(&window);
        window.makeKeyAndOrderFront();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QTest::keyClick(&field, Qt::Key_W, Qt::ControlModifier);
        QVERIFY(!window.isVisible());
    }

    void hasTheAccessibleRoleOfAWindow()
    {
        NeloWindow window(u"Title"_s, {300, 200});
        const QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&window);
        QCOMPARE(accessible->role(), QAccessible::Window);
        QCOMPARE(accessible->text(QAccessible::Name), u"Title"_s);
        window.makeKeyAndOrderFront();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QVERIFY(accessible->state().active);
    }
};

QTEST_MAIN(TestNeloWindow)
#include "TestNeloWindow.moc"
