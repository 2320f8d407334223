#include "ui/ScrollingLabel.h"

#include "support/CaseTable.h"
#include "support/Warnings.h"
#include "ui/Colors.h"

#include <QAccessible>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

/// Text from outside in a fixed number of lines.
class TestScrollingLabel final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void takesItsLinesWhateverItSays()
    {
        const CaseTable<QString> cases{
            {"nothing", {}},
            {"a line", u"Select a skill"_s},
            {"a hundred lines", u"line\n"_s.repeated(100)},
            {"one long word", QString(5'000, u'W')},
        };
        for (const auto& [text] : cases) {
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
    }

    void hasRoomForItsLinesAndNoneToSpare()
    {
        ScrollingLabel label(4);
        label.setText(QStringList(4, u"Agjpqy 天气"_s).join(u'\n'));
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        QCOMPARE(label.verticalScrollBar()->maximum(), 0);
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
        label.setText(u"line\n"_s.repeated(100));
        QVERIFY(label.verticalScrollBar()->maximum() > 0);
        label.verticalScrollBar()->setValue(50);
        label.setText(u"other\n"_s.repeated(100));
        QCOMPARE(label.verticalScrollBar()->value(), 0);
    }

    void aLongLineIsWrapped()
    {
        const CaseTable<QString> cases{
            {"of words", u"很长的说明, a long description. "_s.repeated(400)},
            {"that is one word", QString(5'000, u'W')},
        };
        for (const auto& [line] : cases) {
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
    }

    void itsTextIsPlainAndItsName()
    {
        ScrollingLabel label(2);
        label.setText(u"<b>bold</b>\n&amp;"_s);
        QCOMPARE(label.text(), u"<b>bold</b>\n&amp;"_s);
        QCOMPARE(QAccessible::queryAccessibleInterface(&label)->text(QAccessible::Name), label.text());
    }

    void canBeSelectedButNotEdited()
    {
        ScrollingLabel label(2);
        label.setText(u"text"_s);
        QTest::keyClicks(&label, u"more"_s);
        QCOMPARE(label.text(), u"text"_s);
        QTest::keySequence(&label, QKeySequence::SelectAll);
        QCOMPARE(label.textCursor().selectedText(), u"text"_s);
        QVERIFY(label.tabChangesFocus());
        QVERIFY(!label.testAttribute(Qt::WA_InputMethodEnabled)); // nobody offers to compose a text for it
    }

    void itsTextIsSecondaryInAnyWindow()
    {
        for (const QColor& background : {QColor(Qt::white), QColor(30, 30, 30)}) {
            QWidget first;
            QWidget other; // with another color of its text
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
