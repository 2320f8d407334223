#include "ui/TextRanges.h"

#include "support/Warnings.h"

#include <QStringList>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QStringList textsOf(QStringView text, const std::vector<TextRange>& ranges)
{
    QStringList texts;
    for (const TextRange& range : ranges)
        texts.append(text.sliced(range.start, range.length).toString());
    return texts;
}

const QString family = u"👨‍👩‍👧‍👦"_s;

} // namespace

/// How a message's text is taken apart.
class TestTextRanges final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void paragraphs_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("paragraphs");

        QTest::newRow("an empty text is one empty paragraph") << QString() << QStringList{{}};
        QTest::newRow("a line feed breaks") << u"a\nb"_s << QStringList{u"a"_s, u"b"_s};
        QTest::newRow("a carriage return breaks") << u"a\rb"_s << QStringList{u"a"_s, u"b"_s};
        QTest::newRow("both together break once") << u"a\r\nb"_s << QStringList{u"a"_s, u"b"_s};
        QTest::newRow("the other way round they break twice") << u"a\n\rb"_s << QStringList{u"a"_s, {}, u"b"_s};
        QTest::newRow("a line separator breaks") << u"a\u2028b"_s << QStringList{u"a"_s, u"b"_s};
        QTest::newRow("a paragraph separator breaks") << u"a\u2029b"_s << QStringList{u"a"_s, u"b"_s};
        QTest::newRow("an empty line is a paragraph") << u"a\n\nb"_s << QStringList{u"a"_s, {}, u"b"_s};
        QTest::newRow("a break at the end begins one more") << u"a\n"_s << QStringList{u"a"_s, {}};
    }

    void paragraphs()
    {
        QFETCH(QString, text);
        QTEST(textsOf(text, paragraphsOf(text)), "paragraphs");
    }

    void nothingIsReadPastTheEnd()
    {
        const QStringView half = QStringView(u"a\r\nb").first(2);
        QCOMPARE(paragraphsOf(half), (std::vector<TextRange>{{0, 1}, {2, 0}}));
    }

    void paragraphAtPosition_data()
    {
        QTest::addColumn<int>("position");
        QTest::addColumn<QString>("paragraph");

        QTest::newRow("at its start") << 0 << u"one"_s;
        QTest::newRow("inside it") << 1 << u"one"_s;
        QTest::newRow("at its end, before the break") << 3 << u"one"_s;
        QTest::newRow("after the break") << 5 << u"zwei drei"_s;
        QTest::newRow("at the end of the text") << 14 << u"zwei drei"_s;
    }

    void paragraphAtPosition()
    {
        QFETCH(int, position);
        const QString text = u"one\r\nzwei drei"_s;
        const TextRange range = paragraphAt(text, position);
        QTEST(text.sliced(range.start, range.length), "paragraph");
    }

    void words_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("position");
        QTest::addColumn<QString>("word");

        const QString text = u"Hello, wide world\nnext"_s;
        QTest::newRow("at its first letter") << text << 7 << u"wide"_s;
        QTest::newRow("inside") << text << 9 << u"wide"_s;
        QTest::newRow("after its last letter is what follows") << text << 11 << u" "_s;
        QTest::newRow("a comma is a word of its own") << text << 5 << u","_s;
        QTest::newRow("the end of a paragraph belongs to its last word") << text << 17 << u"world"_s;
        QTest::newRow("the start of the next does not") << text << 18 << u"next"_s;
        QTest::newRow("the end of the text belongs to its last word") << text << 22 << u"next"_s;
        QTest::newRow("an apostrophe is part of a word") << u"don't"_s << 1 << u"don't"_s;
        QTest::newRow("an ideograph is a word") << u"你好吗"_s << 1 << u"好"_s;
        QTest::newRow("an emoji family is one") << family + u" x"_s << 3 << family;
        const QString endless = u"x"_s.repeated(2000);
        QTest::newRow("of an endless one 512 letters either way") << endless << 1000 << u"x"_s.repeated(1024);
        QTest::newRow("an empty text has an empty one") << QString() << 0 << QString();
        QTest::newRow("an empty line has an empty one") << u"a\n\nb"_s << 2 << QString();
    }

    void words()
    {
        QFETCH(QString, text);
        QFETCH(int, position);
        const TextRange range = wordAt(text, position);
        QTEST(text.sliced(range.start, range.length), "word");
    }

    void steps_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("from");
        QTest::addColumn<TextStep>("step");
        QTest::addColumn<int>("to");

        const int familyEnd = static_cast<int>(family.size());
        using enum TextStep;
        QTest::newRow("one letter on") << u"abc"_s << 1 << NextCharacter << 2;
        QTest::newRow("one letter back") << u"abc"_s << 1 << PreviousCharacter << 0;
        QTest::newRow("not past the end") << u"abc"_s << 3 << NextCharacter << 3;
        QTest::newRow("not before the start") << u"abc"_s << 0 << PreviousCharacter << 0;
        QTest::newRow("an emoji family is one character") << family << 0 << NextCharacter << familyEnd;
        QTest::newRow("and one backwards") << family << familyEnd << PreviousCharacter << 0;
        QTest::newRow("a letter with its accent is one") << u"e\u0301a"_s << 0 << NextCharacter << 2;
        QTest::newRow("over a line feed") << u"a\nb"_s << 1 << NextCharacter << 2;
        QTest::newRow("back over a line feed") << u"a\nb"_s << 2 << PreviousCharacter << 1;
        QTest::newRow("over a pair in one step") << u"a\r\nb"_s << 1 << NextCharacter << 3;
        QTest::newRow("back over a pair in one step") << u"a\r\nb"_s << 3 << PreviousCharacter << 1;
        QTest::newRow("back over a pair that begins the text") << u"\r\nb"_s << 2 << PreviousCharacter << 0;
        QTest::newRow("back over a line feed that begins the text") << u"\nb"_s << 1 << PreviousCharacter << 0;
        QTest::newRow("to the end of this word") << u"one two"_s << 1 << NextWord << 3;
        QTest::newRow("to the end of the next word") << u"one two"_s << 3 << NextWord << 7;
        QTest::newRow("to the start of this word") << u"one two"_s << 6 << PreviousWord << 4;
        QTest::newRow("to the start of the previous word") << u"one two"_s << 4 << PreviousWord << 0;
        QTest::newRow("over the blanks that end a paragraph") << u"one  "_s << 3 << NextWord << 5;
        QTest::newRow("words end at their paragraph") << u"one\ntwo"_s << 3 << NextWord << 4;
        QTest::newRow("no word after the last") << u"one"_s << 3 << NextWord << 3;
        QTest::newRow("no word before the first") << u"one"_s << 0 << PreviousWord << 0;
        QTest::newRow("nowhere to go in an empty text") << QString() << 0 << NextWord << 0;
    }

    void steps()
    {
        QFETCH(QString, text);
        QFETCH(int, from);
        QFETCH(TextStep, step);
        QTEST(static_cast<int>(stepFrom(text, from, step)), "to");
    }

    void shortTextIsOneChunk()
    {
        QCOMPARE(chunksOf(QString()), (std::vector<TextRange>{{0, 0}}));
        QCOMPARE(chunksOf(u"你好\nhello\n"_s), (std::vector<TextRange>{{0, 9}}));
    }

    void manyLinesAreCutBetweenParagraphs()
    {
        const QString text = u"line\r\n"_s.repeated(1000);
        const std::vector<TextRange> chunks = chunksOf(text);

        QCOMPARE(chunks.size(), 8U);
        QCOMPARE(chunks.front(), (TextRange{0, 128 * 6 - 2})); // 128 lines
        QCOMPARE(chunks.back().end(), text.size());
        for (std::size_t i = 1; i < chunks.size(); ++i)
            QCOMPARE(chunks[i].start, chunks[i - 1].end() + 2); // the break belongs to neither
        QStringList lines;
        for (const QString& chunk : textsOf(text, chunks))
            lines += textsOf(chunk, paragraphsOf(chunk));
        QCOMPARE(lines, textsOf(text, paragraphsOf(text)));
    }

    void longLinesAreCutSoonAfterSomeThousandLetters()
    {
        const QString text = (u"x"_s.repeated(999) + u'\n').repeated(20);
        for (const TextRange& chunk : chunksOf(text))
            QVERIFY2(chunk.length <= 5000, qPrintable(QString::number(chunk.length)));
        QCOMPARE(chunksOf(u"x"_s.repeated(4095) + u"\ny"_s), (std::vector<TextRange>{{0, 4097}}));
        QCOMPARE(chunksOf(u"x"_s.repeated(4096) + u"\ny"_s), (std::vector<TextRange>{{0, 4096}, {4097, 1}}));
    }

    void aWordOfTenThousandLettersStaysWhole()
    {
        const QString text = u"x"_s.repeated(10'000);
        QCOMPARE(chunksOf(text), (std::vector<TextRange>{{0, 10'000}}));
    }

    void aGiantParagraphIsCutAfterABlank()
    {
        const QString text = u"seven77 "_s.repeated(10'000);
        const std::vector<TextRange> chunks = chunksOf(text);

        QCOMPARE(textsOf(text, chunks).join(QString()), text); // nothing is lost at a cut inside a paragraph
        QVERIFY(chunks.size() >= 2);
        for (const TextRange& chunk : chunks)
            QCOMPARE(chunk.start % 8, 0);
    }

    void aGiantParagraphIsCutAfterABlankNearItsLongestPart()
    {
        const auto chunksOfOneWithABlankAt = [](int position) {
            return chunksOf(u"x"_s.repeated(position) + u' ' + u"x"_s.repeated(32'769 - 1 - position));
        };
        QCOMPARE(chunksOf(u"x"_s.repeated(32'768)), (std::vector<TextRange>{{0, 32'768}}));
        QCOMPARE(chunksOf(u"x"_s.repeated(32'769)), (std::vector<TextRange>{{0, 32'768}, {32'768, 1}}));
        QCOMPARE(chunksOfOneWithABlankAt(32'767), (std::vector<TextRange>{{0, 32'768}, {32'768, 1}}));
        QCOMPARE(chunksOfOneWithABlankAt(32'256), (std::vector<TextRange>{{0, 32'257}, {32'257, 512}}));
        QCOMPARE(chunksOfOneWithABlankAt(32'255), (std::vector<TextRange>{{0, 32'768}, {32'768, 1}}));
    }

    void theLinesAfterAGiantParagraphAreCountedAnew()
    {
        const QString text = u"y\n"_s.repeated(10) + u"x"_s.repeated(32'769) + u"\ny"_s.repeated(200);
        const std::vector<TextRange> chunks = chunksOf(text);
        QCOMPARE(chunks.size(), 3U);
        QCOMPARE(chunks[0], (TextRange{0, 32'788}));
        QCOMPARE(chunks[1], (TextRange{32'788, 128 * 2 - 1})); // the rest of it and 127 lines
    }

    void aGiantWordIsCutBetweenCharactersAsUsersSeeThem()
    {
        const QString text = u"x"_s + family.repeated(10'000);
        const std::vector<TextRange> chunks = chunksOf(text);

        QCOMPARE(textsOf(text, chunks).join(QString()), text);
        QVERIFY(chunks.size() >= 2);
        for (std::size_t i = 1; i < chunks.size(); ++i)
            QCOMPARE((chunks[i].start - 1) % family.size(), 0);
    }

    void endlessCombiningMarksAreCutAllTheSame()
    {
        const QString text = u"e"_s + u"\u0301"_s.repeated(100'000);
        const std::vector<TextRange> chunks = chunksOf(text);

        QCOMPARE(textsOf(text, chunks).join(QString()), text);
        QVERIFY(chunks.size() >= 2);
    }
};

QTEST_GUILESS_MAIN(TestTextRanges)
#include "TestTextRanges.moc"
