#include "chat/transcript/TranscriptLayout.h"

#include "support/TestCase.h"

#include <QFontInfo>
#include <QFontMetrics>

#include <malloc.h>

using namespace Qt::StringLiterals;

/// Where rows and bubbles are, before and after they were laid out.
class TestTranscriptLayout final : public TestCase
{
    Q_OBJECT

private slots:
    void aBubbleIsAsWideAsItsText()
    {
        QFont font = m_font;
        font.setPixelSize(18);
        const int textWidth = QFontMetrics(font).horizontalAdvance(u"a little longer"_s);
        for (const int lines : {1, 2, 127, 128, 140, 1'000, 20'000}) {
            TranscriptLayout layout = rows({u"short\n"_s.repeated(lines - 1) + u"a little longer"_s}, 900);
            layout.layOut(0, 1000);
            QVERIFY(qAbs(layout.bubbleRect(0).width() - (textWidth + 2 * 18)) <= 2);
            QCOMPARE(layout.bubbleRect(0).left(), 0);
            QCOMPARE(layout.textOrigin(0), layout.bubbleRect(0).topLeft() + QPoint(18, 14));
            layout.layOut(layout.height() - 1000, layout.height());
            QVERIFY(qAbs(layout.bubbleRect(0).width() - (textWidth + 2 * 18)) <= 2);
        }
        TranscriptLayout empty = rows({QString()});
        empty.layOut(0, 1000);
        QCOMPARE(empty.bubbleRect(0).size(), QSize(2 * 18, lineHeight() + 2 * 14));
    }

    void theUsersBubblesAreAtTheRight()
    {
        TranscriptLayout layout = rows({}, 900);
        layout.append(Speaker::User, u"short"_s);
        layout.layOut(0, 1000);

        const QRect bubble = layout.bubbleRect(0);
        QCOMPARE(bubble.right() + 1, 900);
        QCOMPARE(layout.speakerRect(0).right() + 1, 900);
        QCOMPARE(layout.caretRect(0, 5).left(), 900 - 18);
        QVERIFY(qAbs(layout.caretRect(0, 0).left() - (bubble.left() + 18)) <= 1);
    }

    void bubblesStopGrowingAt620AndRowsNeverGetNarrowerThan400()
    {
        TranscriptLayout layout = rows({u"m"_s.repeated(500)}, 900);
        for (const auto& [width, widest] : {std::pair{900, 620}, {500, 500}, {100, 400}}) {
            layout.setWidth(width);
            layout.layOut(0, 1000);
            QVERIFY(layout.bubbleRect(0).width() <= widest);
            QVERIFY(layout.bubbleRect(0).width() > widest - 20);
            QCOMPARE(layout.rowRect(0).width(), std::max(width, 400));
        }
    }

    void rowsFollowOneAnother()
    {
        TranscriptLayout layout = rows({u"one"_s, u"two\nlines"_s, u"three"_s});
        layout.layOut(0, 1000);

        QCOMPARE(QFontInfo(layout.speakerFont()).pixelSize(), 12);
        QCOMPARE(layout.speakerFont().weight(), QFont::DemiBold);
        const int speakerHeight = QFontMetrics(layout.speakerFont()).height();
        QCOMPARE(layout.speakerRect(0).top(), 0);
        QCOMPARE(layout.bubbleRect(0).top(), speakerHeight + 6);
        QCOMPARE(layout.bubbleRect(0).height(), lineHeight() + 2 * 14);
        QCOMPARE(layout.bubbleRect(1).height(), 2 * lineHeight() + 2 * 14);
        QCOMPARE(layout.rowRect(0).bottom(), layout.bubbleRect(0).bottom());
        QCOMPARE(layout.rowRect(1).top(), layout.rowRect(0).bottom() + 1 + 12);
        QCOMPARE(layout.rowRect(2).top(), layout.rowRect(1).bottom() + 1 + 12);
        QCOMPARE(layout.height(), layout.rowRect(2).bottom() + 1);

        const int second = layout.rowRect(1).top();
        for (const auto& [height, row] : {std::pair{-50, 0}, {0, 0}, {second - 1, 0}, {second, 1}, {5000, 2}})
            QCOMPARE(layout.indexAt(height), row);
    }

    void estimatesUntilItIsLaidOut()
    {
        // The letters are narrower than the average: the estimate is too high until the row is laid out.
        const QString narrow = u"i"_s.repeated(2000);
        TranscriptLayout layout = rows({narrow, narrow});
        const int estimate = layout.rowRect(0).height();
        QCOMPARE(layout.rowRect(1).height(), estimate);

        layout.layOut(0, 1); // one pixel of the row is enough
        QVERIFY(layout.rowRect(0).height() < estimate);
        QCOMPARE(layout.rowRect(1).height(), estimate); // this row is not laid out
        QCOMPARE(layout.rowRect(1).top(), layout.rowRect(0).bottom() + 1 + 12);
    }

    void layoutsThatAreDroppedFreeTheirMemoryAndKeepTheirHeights()
    {
        TranscriptLayout layout(m_font);
        layout.setWidth(900);
        for (int row = 0; row < 100; ++row)
            layout.append(Speaker::Nelo, u"some words of it "_s.repeated(200));
        layout.layOut(0, 100); // the first layout loads the fonts
        const auto used = [] { return mallinfo2().uordblks; };
        const auto before = used();
        layout.layOut(0, layout.height());
        const auto most = used();
        const QRect last = layout.bubbleRect(99);
        layout.dropLayoutsOutside(0, 100);
        QCOMPARE(layout.bubbleRect(99), last); // all heights stay
        QVERIFY2(used() <= before + (most - before) / 10,
                 qPrintable(u"%1, %2, %3"_s.arg(before).arg(most).arg(used())));
    }

    void laysOutRowsThatComeIntoSightWhenOthersShrink()
    {
        const QString narrow = u"i"_s.repeated(3000);
        TranscriptLayout layout = rows({narrow, narrow, narrow, narrow, u"x"_s});
        const int bottom = layout.height();
        const int top = bottom - layout.rowRect(0).height(); // the row before the last begins above it

        const int moved = layout.layOut(top, bottom);
        const int visible = bottom - top;
        TranscriptLayout whole = rows({narrow, narrow, narrow, narrow, u"x"_s});
        whole.layOut(0, whole.height());
        for (int index = layout.indexAt(top + moved); index < layout.count(); ++index)
            QCOMPARE(layout.rowRect(index).height(), whole.rowRect(index).height());
        QCOMPARE(layout.height() - (top + moved), visible); // the end stays where it was on the screen
        QCOMPARE(layout.layOut(top + moved, layout.height()), 0);
    }

    void estimatesAreNearTheTruth()
    {
        for (const QString& text :
             {u"Scroll bars are placed by an estimate of what nobody has looked at yet. "_s.repeated(30),
              u"滚动条的位置由估计值决定，因为还没有人看过那些消息。"_s.repeated(40),
              u"滚动条 scroll bars 的位置 are placed by 估计值 an estimate，今天也是。"_s.repeated(30),
              u"- item\n"_s.repeated(60), u"好的"_s, u"e\u0301"_s.repeated(1000)}) {
            TranscriptLayout layout = rows({text});
            const double estimate = layout.bubbleRect(0).height();
            layout.layOut(0, 100'000);
            const double truth = layout.bubbleRect(0).height();
            QVERIFY2(qAbs(estimate / truth - 1) < 0.25, qPrintable(u"%1 for %2"_s.arg(estimate).arg(truth)));
        }
    }

    void aNewWidthIsEstimatedAnewUnlessBubblesHaveTheirMaximumWidth()
    {
        TranscriptLayout layout = rows({u"word "_s.repeated(400)}, 700);
        layout.append(Speaker::User, u"right"_s);
        layout.layOut(0, 5000);
        const QRect first = layout.bubbleRect(0);
        const QRect second = layout.bubbleRect(1);
        layout.setWidth(1000);
        QCOMPARE(layout.bubbleRect(0), first);
        QCOMPARE(layout.bubbleRect(1), second.translated(300, 0));

        layout.setWidth(450);
        QVERIFY(layout.bubbleRect(0).height() > first.height());
        layout.layOut(0, 5000);
        QVERIFY(layout.bubbleRect(0).height() > first.height());
        QVERIFY(layout.bubbleRect(0).width() <= 450);
    }

    void placesInAMessageOfManyChunks()
    {
        const QString text = u"line number\n"_s.repeated(1000);
        TranscriptLayout layout = rows({text});
        const qsizetype position = 12 * 700 + 3;

        const QRect caret = layout.caretRect(0, position);
        QCOMPARE(layout.positionAt(0, caret.center()), position);
        QCOMPARE(layout.lineAt(0, position), (TextRange{12 * 700, 11}));
        layout.layOut(0, layout.height());
        QCOMPARE(layout.bubbleRect(0).height(), 1001 * lineHeight() + 2 * 14);
        QCOMPARE(layout.caretRect(0, position).top(), layout.textOrigin(0).y() + 700 * lineHeight());
    }

private:
    TranscriptLayout rows(std::initializer_list<QString> texts, int width = 900) const
    {
        TranscriptLayout result(m_font);
        result.setWidth(width);
        for (const QString& text : texts)
            result.append(Speaker::Nelo, text);
        return result;
    }

    int lineHeight() const
    {
        TranscriptLayout one = rows({u"x"_s});
        one.layOut(0, 1000);
        return one.bubbleRect(0).height() - 2 * 14;
    }

    QFont m_font;
};

QTEST_MAIN(TestTranscriptLayout)
#include "TestTranscriptLayout.moc"
