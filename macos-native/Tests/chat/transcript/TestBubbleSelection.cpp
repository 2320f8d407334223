#include "chat/transcript/BubbleSelection.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;
using Unit = BubbleSelection::Unit;

/// The selection in one text.
class TestBubbleSelection final : public TestCase
{
    Q_OBJECT

private slots:
    void extendsFromWhereItBegan()
    {
        const CaseTable<Unit, int, int, QString, int> cases{
            {"a press selects nothing", Unit::Letter, 5, 5, {}, 5},
            {"a drag forwards", Unit::Letter, 1, 5, u"ne t"_s, 5},
            {"a drag backwards", Unit::Letter, 5, 1, u"ne t"_s, 1},
            {"a word", Unit::Word, 5, 5, u"two"_s, 7},
            {"words forwards", Unit::Word, 5, 9, u"two three"_s, 13},
            {"words backwards keep the first", Unit::Word, 5, 1, u"one two"_s, 0},
            {"a paragraph", Unit::Paragraph, 5, 5, u"one two three"_s, 13},
            {"paragraphs", Unit::Paragraph, 5, 16, m_text, 25},
        };
        for (const auto& [unit, from, to, text, cursor] : cases) {

            BubbleSelection selection;
            selection.begin(m_text, from, unit);
            selection.extendTo(m_text, to);

            QCOMPARE(selected(selection), text);
            QCOMPARE(static_cast<int>(selection.cursor()), cursor);
        }
    }

    void aKeyMovesTheCursorOfTheSelection()
    {
        BubbleSelection selection;
        selection.selectAll(m_text);
        QCOMPARE(selected(selection), m_text);
        selection.moveTo(m_text, 3);
        QCOMPARE(selected(selection), u"one"_s); // the selection began at 0

        selection.begin(m_text, 7, Unit::Letter);
        selection.extendTo(m_text, 4);
        selection.moveTo(m_text, 5);
        QCOMPARE(selected(selection), u"wo"_s);
        selection.moveTo(m_text, 9);
        QCOMPARE(selected(selection), u" t"_s); // the cursor is after the beginning now

        selection.begin(m_text, 5, Unit::Word);
        selection.moveTo(m_text, 9);
        QCOMPARE(selected(selection), u"two t"_s); // by letters after a drag by words

        QVERIFY(!selection.isEmpty());
        selection.clear();
        QVERIFY(selection.isEmpty());
        QCOMPARE(selection.cursor(), 0);
    }

private:
    const QString m_text = u"one two three\nsecond line"_s;

    QString selected(const BubbleSelection& selection) const
    {
        return m_text.sliced(selection.range().start, selection.range().length);
    }
};

QTEST_GUILESS_MAIN(TestBubbleSelection)
#include "TestBubbleSelection.moc"
