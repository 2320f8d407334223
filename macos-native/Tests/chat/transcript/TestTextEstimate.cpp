#include "chat/transcript/TextEstimate.h"

#include "support/TestCase.h"
#include "ui/Labels.h"

using namespace Qt::StringLiterals;

/// How much room letters take before they are laid out.
class TestTextEstimate final : public TestCase
{
    Q_OBJECT

private slots:
    void marksThatCombineTakeNoRoom()
    {
        const auto takesRoom = [this](char16_t letter) {
            return height(u"a"_s + QString(500, letter)) > height(u"a"_s);
        };
        QVERIFY(takesRoom(u'\u02FF'));
        QVERIFY(!takesRoom(u'\u0300')); // the first mark
        QVERIFY(!takesRoom(u'\u036F')); // the last mark
        QVERIFY(takesRoom(u'\u0370'));
    }

    void ideographsTakeMoreRoomThanLetters()
    {
        QVERIFY(height(QString(500, u'\u2E80')) > height(QString(500, u'\u2E7F')) * 3 / 2);
        QVERIFY(height(u"好"_s) >= height(u"a"_s));
        QCOMPARE(height(u"a好"_s), height(u"好好"_s)); // a line is as high as its highest letter
    }

    void anEmojiIsOneLetter() { QCOMPARE(height(u"😀"_s.repeated(200)), height(u"好"_s.repeated(200))); }

    void eachParagraphTakesALineAtLeast()
    {
        const int line = height(u"a"_s);
        QVERIFY(line > 0);
        QCOMPARE(height(QString()), line);
        QCOMPARE(height(u"a\n\nb\n"_s), 4 * line);
    }

    void aLineThatIsTooNarrowForALetterIsALine()
    {
        const int line = height(u"a"_s);
        QVERIFY(height(u"aaaa"_s, 1) >= 4 * line);
        QVERIFY(height(u"aaaa"_s, 1) <= 4 * 18 * line); // a pixel each, at most
    }

private:
    static constexpr int width = 300;

    int height(const QString& text, int lineWidth = width) const
    {
        return TextEstimate(m_font).height(text, lineWidth);
    }

    const QFont m_font = fontOfSize(QFont(), 18);
};

QTEST_MAIN(TestTextEstimate)
#include "TestTextEstimate.moc"
