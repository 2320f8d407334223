#include "shell/primitives/PlaceholderInfoController.h"
#include "shell/primitives/TextBlockController.h"

#include "support/Warnings.h"
#include "ui/Labels.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTest>

/// The two controllers that only show a text.
class TestTextControllers final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void aTextBlockShowsItsContentReadOnly()
    {
        TextBlockController controller(QStringLiteral("<b>one</b>\n两"));
        controller.loadViewIfNeeded();
        const auto* text = controller.findChild<QPlainTextEdit*>(QStringLiteral("textView"));
        QCOMPARE(text->toPlainText(), QStringLiteral("<b>one</b>\n两"));
        QVERIFY(text->isReadOnly());
        QCOMPARE(QFontInfo(text->font()).pixelSize(), 12);
        QCOMPARE(text->font().family(), QFontDatabase::systemFont(QFontDatabase::FixedFont).family());
        QCOMPARE(text->frameShape(), QFrame::NoFrame);
        QVERIFY(!text->viewport()->autoFillBackground());
    }

    void aTextBlockScrollsDown()
    {
        TextBlockController controller(QStringLiteral("line\n").repeated(1'000));
        controller.resize(300, 200);
        controller.show();
        QVERIFY(QTest::qWaitForWindowExposed(&controller));
        const auto* text = controller.findChild<QPlainTextEdit*>();
        QVERIFY(text->verticalScrollBar()->maximum() > 0);
        QCOMPARE(text->size(), controller.size());
    }

    void aPlaceholderShowsTitleAndBody()
    {
        PlaceholderInfoController controller(QStringLiteral("Title"), QStringLiteral("Body"));
        controller.resize(600, 400);
        controller.show();
        QVERIFY(QTest::qWaitForWindowExposed(&controller));
        const auto* title = controller.findChild<Label*>();
        const auto* body = controller.findChild<WrappingLabel*>();
        QCOMPARE(title->text(), QStringLiteral("Title"));
        QCOMPARE(QFontInfo(title->font()).pixelSize(), 18);
        QCOMPARE(title->font().weight(), QFont::Bold);
        QCOMPARE(title->geometry().topLeft(), QPoint(24, 24));
        QCOMPARE(title->geometry().right() + 1, 600 - 24);
        QCOMPARE(body->text(), QStringLiteral("Body"));
        QCOMPARE(body->geometry().left(), 24);
        QCOMPARE(body->geometry().top(), title->geometry().bottom() + 1 + 10);
        QVERIFY(body->palette().color(QPalette::WindowText) != title->palette().color(QPalette::WindowText));
    }

    void aLongBodyWrapsWithinTheMargins()
    {
        PlaceholderInfoController controller(QStringLiteral("Title"), QStringLiteral("word ").repeated(60));
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

    void foreignTextStaysPlain()
    {
        PlaceholderInfoController controller(QStringLiteral("<i>t</i>"), QStringLiteral("<i>b</i>"));
        controller.loadViewIfNeeded();
        for (const QLabel* label : controller.findChildren<QLabel*>())
            QCOMPARE(label->textFormat(), Qt::PlainText);
    }
};

QTEST_MAIN(TestTextControllers)
#include "TestTextControllers.moc"
