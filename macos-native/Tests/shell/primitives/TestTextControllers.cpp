#include "shell/primitives/PlaceholderInfoController.h"
#include "shell/primitives/TextBlockController.h"

#include "support/Warnings.h"
#include "ui/Labels.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTest>

using namespace Qt::StringLiterals;

/// The two controllers that only show a text.
class TestTextControllers final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void aTextBlockShowsItsContentReadOnly()
    {
        TextBlockController controller(u"<b>one</b>\n两"_s);
        controller.loadViewIfNeeded();
        const auto* text = controller.findChild<QPlainTextEdit*>(u"textView"_s);
        QCOMPARE(text->toPlainText(), u"<b>one</b>\n两"_s);
        QVERIFY(text->isReadOnly());
        QCOMPARE(QFontInfo(text->font()).pixelSize(), 12);
        QCOMPARE(text->font().family(), QFontDatabase::systemFont(QFontDatabase::FixedFont).family());
        QCOMPARE(text->frameShape(), QFrame::NoFrame);
        QVERIFY(!text->viewport()->autoFillBackground());
    }

    void aTextBlockScrollsDown()
    {
        TextBlockController controller(u"line\n"_s.repeated(1'000));
        controller.resize(300, 200);
        controller.show();
        QVERIFY(QTest::qWaitForWindowExposed(&controller));
        const auto* text = controller.findChild<QPlainTextEdit*>();
        QVERIFY(text->verticalScrollBar()->maximum() > 0);
        QCOMPARE(text->size(), controller.size());
    }

    void aPlaceholderShowsTitleAndBody()
    {
        PlaceholderInfoController controller(u"Title"_s, u"Body"_s);
        controller.resize(600, 400);
        controller.show();
        QVERIFY(QTest::qWaitForWindowExposed(&controller));
        const auto* title = controller.findChild<Label*>();
        const auto* body = controller.findChild<WrappingLabel*>();
        QCOMPARE(title->text(), u"Title"_s);
        QCOMPARE(QFontInfo(title->font()).pixelSize(), 18);
        QCOMPARE(title->font().weight(), QFont::Bold);
        QCOMPARE(title->geometry().topLeft(), QPoint(24, 24));
        QCOMPARE(title->geometry().right() + 1, 600 - 24);
        QCOMPARE(body->text(), u"Body"_s);
        QCOMPARE(body->geometry().left(), 24);
        QCOMPARE(body->geometry().top(), title->geometry().bottom() + 1 + 10);
        QVERIFY(body->palette().color(QPalette::WindowText) != title->palette().color(QPalette::WindowText));
    }

    void aLongBodyWrapsWithinTheMargins()
    {
        PlaceholderInfoController controller(u"Title"_s, u"word "_s.repeated(60));
        controller.resize(900, 600);
        controller.show();
        QVERIFY(QTest::qWaitForWindowExposed(&controller));
        const auto* body = controller.findChild<WrappingLabel*>();
        const int wideHeight = body->height();
        controller.resize(400, 600);
        QCoreApplication::processEvents();
        QVERIFY(body->height() > wideHeight);
        QCOMPARE(body->geometry().left(), 24);
        QCOMPARE(body->geometry().right() + 1, 400 - 24);
    }
};

QTEST_MAIN(TestTextControllers)
#include "TestTextControllers.moc"
