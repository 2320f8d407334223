#include "shell/primitives/NeloWindow.h"

#include "shell/primitives/ViewController.h"
#include "support/CaseTable.h"
#include "support/Controls.h"
#include "support/TestCase.h"

#include <QGuiApplication>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

namespace {

/// A form that is taller than the screen.
class TallForm final : public ViewController
{
    void loadView() override
    {
        auto* column = new QVBoxLayout(this);
        for (int row = 0; row < 40; ++row)
            column->addWidget(new QPushButton(QString::number(row), this));
    }
};

} // namespace

/// Windows on a screen of 1024 by 600 pixels, with frames.
class TestNeloWindowOnSmallScreen final : public TestCase
{
    Q_OBJECT

private slots:
    void isOnTheScreenWithItsFrame()
    {
        const CaseTable<QSize, bool> cases{
            {"chat", QSize(980, 740), false},
            {"console", QSize(1000, 720), false},
            {"as high as the screen", QSize(640, 600), false},
            {"smaller", QSize(640, 480), true},
        };
        for (const auto& [size, isKept] : cases) {
            NeloWindow window(QString(), size);
            window.makeKeyAndOrderFront();
            QVERIFY(QTest::qWaitForWindowActive(&window));
            const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
            QVERIFY(available.contains(window.frameGeometry()));
            QCOMPARE(window.size() == size, isKept);
            QCOMPARE(window.minimumSize(), window.size());
            QCOMPARE(window.frameGeometry().height() == available.height(), !isKept);
        }
    }

    void whatIsBelowTheScreenCanBeScrolledTo()
    {
        NeloWindow window(QString(), {640, 740});
        window.setContentViewController(new TallForm);
        window.makeKeyAndOrderFront();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        const QPushButton* last = Controls::button(window, QStringLiteral("39"));
        const auto isInSight = [&] {
            return window.rect().contains(QRect(last->mapTo(&window, QPoint()), last->size()));
        };
        QVERIFY(!isInSight());
        QTest::keyClick(window.focusWidget(), Qt::Key_Backtab); // from the first to the last
        QVERIFY(last->hasFocus());
        QVERIFY(isInSight());
    }
};

QTEST_MAIN(TestNeloWindowOnSmallScreen)
#include "TestNeloWindowOnSmallScreen.moc"
