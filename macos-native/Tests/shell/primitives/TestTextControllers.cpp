#include "shell/primitives/PlaceholderInfoController.h"
#include "shell/primitives/TextBlockController.h"

#include "support/TestCase.h"
#include "ui/Labels.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QPlainTextEdit>
#include <QScrollBar>

using namespace Qt::StringLiterals;

/// The two controllers that only show a text.
class TestTextControllers final : public TestCase
{
    Q_OBJECT

private slots:
    void aTextBlockShowsItsContentReadOnlyAndScrollsDown()
    {
        const QString content = u"<b>one</b>\n两\n"_s.repeated(1'000);
        TextBlockController controller(content);
        show(controller, {300, 200});
        const auto* text = controller.findChild<QPlainTextEdit*>(u"textView"_s);
        QCOMPARE(text->toPlainText(), content);
        QVERIFY(text->isReadOnly());
        QCOMPARE(QFontInfo(text->font()).pixelSize(), 12);
        QCOMPARE(text->font().family(), QFontDatabase::systemFont(QFontDatabase::FixedFont).family());
        QCOMPARE(text->frameShape(), QFrame::NoFrame);
        QVERIFY(!text->viewport()->autoFillBackground());
        QVERIFY(text->verticalScrollBar()->maximum() > 0);
        QCOMPARE(text->size(), controller.size());
    }

    void aPlaceholderShowsItsTitleAndWrapsItsBodyWithinTheMargins()
    {
        PlaceholderInfoController controller(u"Title"_s, u"word "_s.repeated(60));
        show(controller, {900, 600});
        const auto* title = controller.findChild<Label*>();
        const auto* body = controller.findChild<WrappingLabel*>();
        QCOMPARE(title->text(), u"Title"_s);
        QCOMPARE(QFontInfo(title->font()).pixelSize(), 18);
        QCOMPARE(title->font().weight(), QFont::Bold);
        QCOMPARE(title->geometry(), QRect(24, 24, 900 - 2 * 24, title->height()));
        QCOMPARE(body->text(), u"word "_s.repeated(60));
        QCOMPARE(body->pos(), QPoint(24, 24 + title->height() + 10));
        QVERIFY(body->palette().color(QPalette::WindowText) != title->palette().color(QPalette::WindowText));
        const int wideHeight = body->height();
        controller.resize(400, 600);
        QCoreApplication::processEvents();
        QVERIFY(body->height() > wideHeight);
        QCOMPARE(body->width(), 400 - 2 * 24);
    }

private:
    static void show(QWidget& controller, QSize size)
    {
        controller.resize(size);
        controller.show();
        QVERIFY(QTest::qWaitForWindowExposed(&controller));
    }
};

QTEST_MAIN(TestTextControllers)
#include "TestTextControllers.moc"
