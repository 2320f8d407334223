#include "ui/ScrollingLabel.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"

#include <QScrollBar>
#include <QTextBlock>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

/// Text from outside in a fixed number of lines.
class TestScrollingLabel final : public TestCase
{
    Q_OBJECT

private slots:
    void hasTheHeightOfItsLinesWithAnyText()
    {
        const CaseTable<QString> cases{
            {"nothing", {}},
            {"a line of markup", u"<b>bold</b> &amp;"_s},
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
            QCOMPARE(label->accessibleName(), text);
        }
    }

    void aLongerTextThanItsLinesScrollsAndStartsAtItsBeginning()
    {
        ScrollingLabel label(4);
        QVERIFY(!label.viewport()->autoFillBackground()); // it looks like a label
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        for (const int factor : {1, 2}) {
            QFont font = label.font();
            font.setPixelSize(factor * QFontInfo(font).pixelSize());
            label.setFont(font);
            label.setText(QStringList(4, u"Agjpqy 天气"_s).join(u'\n'));
            QCOMPARE(label.verticalScrollBar()->maximum(), 0);
            label.setText(u"line\n"_s.repeated(5));
            QVERIFY(label.verticalScrollBar()->maximum() > 0);
            label.verticalScrollBar()->setValue(1);
            label.setText(u"other\n"_s.repeated(5));
            QCOMPARE(label.verticalScrollBar()->value(), 0);
        }
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
            for (int width = 300; width < 340;
                 ++width) { // with some widths, a blank at the end of a line lies beyond the edge
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

    void canBeSelectedButNotEdited()
    {
        ScrollingLabel label(2);
        label.setText(u"text"_s);
        QTest::keyClicks(&label, u"more"_s);
        QCOMPARE(label.text(), u"text"_s);
        QTest::keySequence(&label, QKeySequence::SelectAll);
        QCOMPARE(label.textCursor().selectedText(), u"text"_s);
        QVERIFY(label.tabChangesFocus());
        QVERIFY(!label.testAttribute(Qt::WA_InputMethodEnabled)); // no input method is offered
    }
};

QTEST_MAIN(TestScrollingLabel)
#include "TestScrollingLabel.moc"
