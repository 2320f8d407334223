#include "ui/ScrollingLabel.h"

#include "support/Warnings.h"
#include "ui/Colors.h"

#include <QAccessible>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QVBoxLayout>

/// Text from outside in a fixed number of lines.
class TestScrollingLabel final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void takesItsLinesWhateverItSays_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("nothing") << QString();
        QTest::newRow("a line") << QStringLiteral("Select a skill");
        QTest::newRow("a hundred lines") << QStringLiteral("line\n").repeated(100);
        QTest::newRow("one long word") << QString(5'000, u'W');
    }

    void takesItsLinesWhateverItSays()
    {
        QFETCH(QString, text);
        QWidget window;
        auto* column = new QVBoxLayout(&window);
        auto* label = new ScrollingLabel(4);
        column->addWidget(label);
        column->addStretch();
        window.resize(300, 400);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const int height = label->height();
        label->setText(text);
        QCoreApplication::processEvents();
        QCOMPARE(label->height(), height);
        QCOMPARE(window.size(), QSize(300, 400));
        QCOMPARE(label->text(), text);
    }

    void showsAsManyLinesAsItHasRoomFor_data()
    {
        QTest::addColumn<QString>("line");
        QTest::newRow("Latin letters") << QStringLiteral("gjpqy");
        QTest::newRow("Chinese letters") << QStringLiteral("天气");
    }

    void showsAsManyLinesAsItHasRoomFor()
    {
        QFETCH(QString, line);
        ScrollingLabel label(4);
        label.resize(400, label.height());
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        label.setText(QStringList(4, line).join(u'\n'));
        QCOMPARE(label.verticalScrollBar()->maximum(), 0);
    }

    void hasNoRoomToSpare()
    {
        ScrollingLabel label(4);
        label.setText(QStringList(4, QStringLiteral("Ag天")).join(u'\n'));
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        label.setFixedHeight(label.height() - 1);
        QVERIFY(label.verticalScrollBar()->maximum() > 0);
    }

    void growsWithItsFont()
    {
        ScrollingLabel label(4);
        const int height = label.height();
        QFont font = label.font();
        font.setPixelSize(2 * QFontInfo(font).pixelSize());
        label.setFont(font);
        QVERIFY(label.height() > height * 3 / 2);
    }

    void aLongTextScrollsAndStartsAtItsBeginning()
    {
        ScrollingLabel label(4);
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        label.setText(QStringLiteral("line\n").repeated(100));
        QVERIFY(label.verticalScrollBar()->maximum() > 0);
        label.verticalScrollBar()->setValue(50);
        label.setText(QStringLiteral("other\n").repeated(100));
        QCOMPARE(label.verticalScrollBar()->value(), 0);
    }

    void aLongLineIsWrapped_data()
    {
        QTest::addColumn<QString>("line");
        QTest::newRow("of words") << QStringLiteral("很长的说明, a long description. ").repeated(400);
        QTest::newRow("that is one word") << QString(5'000, u'W');
    }

    void aLongLineIsWrapped()
    {
        QFETCH(QString, line);
        ScrollingLabel label(4);
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        for (int width = 300; width < 340; ++width) { // at some of them a blank ends a line beyond the edge
            label.resize(width, label.height());
            label.setText(line);
            QCoreApplication::processEvents();
            QVERIFY(!label.horizontalScrollBar()->isVisible());
            const QTextLayout* layout = label.document()->firstBlock().layout();
            for (int i = 0; i < layout->lineCount(); ++i)
                QVERIFY(layout->lineAt(i).naturalTextWidth() <= label.viewport()->width());
        }
    }

    void itsTextIsPlainAndItsName()
    {
        ScrollingLabel label(2);
        label.setText(QStringLiteral("<b>bold</b>\n&amp;"));
        QCOMPARE(label.text(), QStringLiteral("<b>bold</b>\n&amp;"));
        QCOMPARE(QAccessible::queryAccessibleInterface(&label)->text(QAccessible::Name), label.text());
    }

    void canBeSelectedButNotEdited()
    {
        ScrollingLabel label(2);
        label.setText(QStringLiteral("text"));
        QTest::keyClicks(&label, QStringLiteral("more"));
        QCOMPARE(label.text(), QStringLiteral("text"));
        QTest::keySequence(&label, QKeySequence::SelectAll);
        QCOMPARE(label.textCursor().selectedText(), QStringLiteral("text"));
        QVERIFY(label.tabChangesFocus());
        QVERIFY(!label.testAttribute(Qt::WA_InputMethodEnabled)); // nobody offers to compose a text for it
    }

    void itsTextIsSecondaryInAnyWindow()
    {
        for (const QColor& background : {QColor(Qt::white), QColor(30, 30, 30)}) {
            QWidget first;
            QWidget other; // with another colour of its text
            first.setPalette(QPalette(background));
            QPalette palette(background);
            palette.setColor(QPalette::WindowText, Qt::darkRed);
            other.setPalette(palette);
            ScrollingLabel label(2, &first);
            QCOMPARE(label.palette().color(QPalette::Text), Colors::secondaryText(first.palette()));
            label.setParent(&other);
            QCOMPARE(label.palette().color(QPalette::Text), Colors::secondaryText(palette));
        }
    }
};

QTEST_MAIN(TestScrollingLabel)
#include "TestScrollingLabel.moc"
