#include "ui/TextRanges.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"

#include <QStringList>

using namespace Qt::StringLiterals;

const QString family = u"👨‍👩‍👧‍👦"_s;

/// How the text of a message is divided.
class TestTextRanges final : public TestCase
{
    Q_OBJECT

private slots:
    void paragraphs()
    {
        const CaseTable<QString, QStringList> cases{
            {"an empty text is one empty paragraph", {}, {{}}},
            {"a line feed breaks", u"a\nb"_s, {u"a"_s, u"b"_s}},
            {"a carriage return breaks", u"a\rb"_s, {u"a"_s, u"b"_s}},
            {"both together break once", u"a\r\nb"_s, {u"a"_s, u"b"_s}},
            {"the other way round they break twice", u"a\n\rb"_s, {u"a"_s, {}, u"b"_s}},
            {"a line separator breaks", u"a\u2028b"_s, {u"a"_s, u"b"_s}},
            {"a paragraph separator breaks", u"a\u2029b"_s, {u"a"_s, u"b"_s}},
            {"an empty line is a paragraph", u"a\n\nb"_s, {u"a"_s, {}, u"b"_s}},
            {"a break at the end begins one more", u"a\n"_s, {u"a"_s, {}}},
        };
        for (const auto& [text, paragraphs] : cases)
            QCOMPARE(textsOf(text, paragraphsOf(text)), paragraphs);
    }

    void nothingIsReadPastTheEnd()
    {
        const QStringView half = QStringView(u"a\r\nb").first(2);
        QCOMPARE(paragraphsOf(half), (std::vector<TextRange>{{0, 1}, {2, 0}}));
    }

    void paragraphAtPosition()
    {
        const CaseTable<int, QString> cases{
            {"at its start", 0, u"one"_s},
            {"inside it", 1, u"one"_s},
            {"at its end, before the break", 3, u"one"_s},
            {"after the break", 5, u"zwei drei"_s},
            {"at the end of the text", 14, u"zwei drei"_s},
        };
        for (const auto& [position, paragraph] : cases) {
            const QString text = u"one\r\nzwei drei"_s;
            const TextRange range = paragraphAt(text, position);
            QCOMPARE(text.sliced(range.start, range.length), paragraph);
        }
    }

    void words()
    {
        const QString sentence = u"Hello, wide world\nnext"_s;
        const QString endless = u"x"_s.repeated(2000);
        const CaseTable<QString, int, QString> cases{
            {"at its first letter", sentence, 7, u"wide"_s},
            {"inside", sentence, 9, u"wide"_s},
            {"after its last letter is what follows", sentence, 11, u" "_s},
            {"a comma is a word of its own", sentence, 5, u","_s},
            {"the end of a paragraph belongs to its last word", sentence, 17, u"world"_s},
            {"the start of the next does not", sentence, 18, u"next"_s},
            {"the end of the text belongs to its last word", sentence, 22, u"next"_s},
            {"an apostrophe is part of a word", u"don't"_s, 1, u"don't"_s},
            {"an ideograph is a word", u"你好吗"_s, 1, u"好"_s},
            {"an emoji family is one", family + u" x"_s, 3, family},
            {"of an endless one 512 letters either way", endless, 1000, u"x"_s.repeated(1024)},
            {"an empty text has an empty one", {}, 0, {}},
            {"an empty line has an empty one", u"a\n\nb"_s, 2, {}},
        };
        for (const auto& [text, position, word] : cases) {
            const TextRange range = wordAt(text, position);
            QCOMPARE(text.sliced(range.start, range.length), word);
        }
    }

    void steps()
    {
        const int familyEnd = static_cast<int>(family.size());
        using enum TextStep;
        const CaseTable<QString, int, TextStep, int> cases{
            {"one letter on", u"abc"_s, 1, NextCharacter, 2},
            {"one letter back", u"abc"_s, 1, PreviousCharacter, 0},
            {"not past the end", u"abc"_s, 3, NextCharacter, 3},
            {"not before the start", u"abc"_s, 0, PreviousCharacter, 0},
            {"an emoji family is one character", family, 0, NextCharacter, familyEnd},
            {"and one backwards", family, familyEnd, PreviousCharacter, 0},
            {"a letter with its accent is one", u"e\u0301a"_s, 0, NextCharacter, 2},
            {"over a line feed", u"a\nb"_s, 1, NextCharacter, 2},
            {"back over a line feed", u"a\nb"_s, 2, PreviousCharacter, 1},
            {"over a pair in one step", u"a\r\nb"_s, 1, NextCharacter, 3},
            {"back over a pair in one step", u"a\r\nb"_s, 3, PreviousCharacter, 1},
            {"back over a pair that begins the text", u"\r\nb"_s, 2, PreviousCharacter, 0},
            {"back over a line feed that begins the text", u"\nb"_s, 1, PreviousCharacter, 0},
            {"to the end of this word", u"one two"_s, 1, NextWord, 3},
            {"to the end of the next word", u"one two"_s, 3, NextWord, 7},
            {"to the start of this word", u"one two"_s, 6, PreviousWord, 4},
            {"to the start of the previous word", u"one two"_s, 4, PreviousWord, 0},
            {"over the blanks that end a paragraph", u"one  "_s, 3, NextWord, 5},
            {"words end at their paragraph", u"one\ntwo"_s, 3, NextWord, 4},
            {"no word after the last", u"one"_s, 3, NextWord, 3},
            {"no word before the first", u"one"_s, 0, PreviousWord, 0},
            {"nowhere to go in an empty text", {}, 0, NextWord, 0},
        };
        for (const auto& [text, from, step, to] : cases)
            QCOMPARE(static_cast<int>(stepFrom(text, from, step)), to);
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
            QCOMPARE(chunks[i].start, chunks[i - 1].end() + 2); // the line break belongs to no chunk
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

    void aGiantParagraphIsCutWithoutLoss()
    {
        const CaseTable<QString, qsizetype> cases{
            {"after a blank", u"seven7 "_s.repeated(10'000), 7},
            {"between characters as users see them", family.repeated(10'000), family.size()},
            {"between combining marks without an end", u"e"_s + u"\u0301"_s.repeated(100'000), 1},
        };
        for (const auto& [text, unit] : cases) {
            const std::vector<TextRange> chunks = chunksOf(text);
            QCOMPARE(textsOf(text, chunks).join(QString()), text);
            QVERIFY(chunks.size() >= 2);
            for (const TextRange& chunk : chunks)
                QCOMPARE(chunk.start % unit, 0);
        }
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
        QCOMPARE(chunks[1], (TextRange{32'788, 128 * 2 - 1})); // the rest of the paragraph and 127 lines
    }

private:
    static QStringList textsOf(QStringView text, const std::vector<TextRange>& ranges)
    {
        QStringList texts;
        for (const TextRange& range : ranges)
            texts.append(text.sliced(range.start, range.length).toString());
        return texts;
    }
};

QTEST_GUILESS_MAIN(TestTextRanges)
#include "TestTextRanges.moc"
