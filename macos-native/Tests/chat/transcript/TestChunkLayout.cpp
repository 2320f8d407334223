#include "chat/transcript/ChunkLayout.h"

#include "support/TestCase.h"
#include "ui/Labels.h"

using namespace Qt::StringLiterals;

/// Breaking text into lines and finding places in it.
class TestChunkLayout final : public TestCase
{
    Q_OBJECT

private slots:
    void breaksAtWords()
    {
        const QString text = u"wonderful "_s.repeated(20);
        const ChunkLayout words = layout(text);

        QVERIFY(words.height() > 3 * layout(u"x"_s).height());
        for (qsizetype position = 0; position < text.size();) {
            const TextRange line = words.lineAt(position);
            QCOMPARE(line.start, position);
            QCOMPARE(line.start % 10, 0);
            position = line.end();
        }
    }

    void breaksAnywhereInAWordLongerThanALine()
    {
        const QString word = u"m"_s.repeated(10'000);
        const ChunkLayout broken = layout(word);

        QVERIFY(broken.naturalWidth() <= width);
        QVERIFY(broken.naturalWidth() > width - 30); // lines are full
        QCOMPARE(broken.lineAt(10'000).end(), 10'000);
        QVERIFY(broken.height() > 100 * layout(u"m"_s).height());
    }

    void aBlankLineIsAsHighAsALine()
    {
        const int line = layout(u"a"_s).height();
        QCOMPARE(layout(QString()).height(), line);
        QCOMPARE(layout(u"a\n\nb"_s).height(), 3 * line);
        QCOMPARE(layout(u"a\n"_s).height(), 2 * line);
    }

    void isAsWideAsItsWidestLine()
    {
        QCOMPARE(layout(QString()).naturalWidth(), 0);
        const int wide = layout(u"wide wide"_s).naturalWidth();
        QVERIFY(wide > 0 && wide < width);
        QCOMPARE(layout(u"w\nwide wide\nw"_s).naturalWidth(), wide);
    }

    void alignsLinesAtTheRight()
    {
        const ChunkLayout right = layout(u"a\nlonger"_s, Qt::AlignRight);
        QVERIFY(qAbs(right.caretRect(1).x() - width) < 1);
        QVERIFY(qAbs(right.caretRect(8).x() - width) < 1);
        QVERIFY(right.caretRect(2).x() < right.caretRect(0).x());
        QCOMPARE(layout(u"a"_s).caretRect(0).x(), 0);
    }

    void eachParagraphGoesInTheDirectionOfItsScript()
    {
        const QString hebrew = u"שלום עולם!"_s;
        const ChunkLayout mixed = layout(u"Latin!\n"_s + hebrew);
        const qsizetype start = 7;

        QVERIFY(mixed.caretRect(0).x() < mixed.caretRect(5).x());
        QVERIFY(mixed.caretRect(start).x() > mixed.caretRect(start + 3).x());
        // The exclamation mark stands at the left of its own paragraph.
        QVERIFY(mixed.caretRect(start + hebrew.size()).x() < mixed.caretRect(start + hebrew.size() - 2).x());
    }

    void findsThePositionUnderAPoint()
    {
        const ChunkLayout words = layout(u"one\ntwo"_s);
        const double inSecond = words.height() * 0.75;
        QCOMPARE(words.positionAt({0, -100}), 0); // above everything
        QCOMPARE(words.positionAt({-50, 2}), 0);
        QCOMPARE(words.positionAt({width, 2}), 3);
        QCOMPARE(words.positionAt({-50, inSecond}), 4);
        QCOMPARE(words.positionAt({width, 100}), 7); // below everything
        for (const QString& text : {u"one\ntwo"_s, u"m"_s.repeated(40)}) {
            const ChunkLayout lines = layout(text);
            const qsizetype second = text.startsWith(u'o') ? 4 : lines.lineAt(0).end();
            const double border = lines.caretRect(second).top();
            QVERIFY(border > 0);
            QCOMPARE(lines.positionAt({0, border}), second); // the border belongs to the lower line
            QCOMPARE(lines.positionAt({0, border - 1}), 0);
        }
    }

    void everyCaretIsFoundAgain()
    {
        for (const QString& text : {u"The quick brown fox jumps over the lazy dog, twice a day. "_s.repeated(3),
                                    u"今天天气很好，我们去公园。"_s.repeated(4), u"one\ntwo\n\nfour"_s}) {
            const ChunkLayout lines = layout(text);
            for (qsizetype position = 0; position < text.size(); ++position)
                QCOMPARE(lines.positionAt(lines.caretRect(position).center()), position);
        }
    }

private:
    static constexpr int width = 300;

    ChunkLayout layout(const QString& text, Qt::Alignment alignment = Qt::AlignLeft, int lineWidth = width) const
    {
        return {text, m_font, alignment, lineWidth};
    }

    const QFont m_font = fontOfSize(QFont(), 18);
};

QTEST_MAIN(TestChunkLayout)
#include "TestChunkLayout.moc"
