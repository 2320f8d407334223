#include "ui/SingleLine.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// What one line can show of a text.
class TestSingleLine final : public TestCase
{
    Q_OBJECT

private slots:
    void shows()
    {
        const QString x = u"x"_s;
        const CaseTable<QString, QString> cases{
            {"nothing of nothing", {}, {}},
            {"a blank for each break of a line", u"a\nb\vc\fd\re\u0085f\u2028g\u2029h"_s, u"a b c d e f g h"_s},
            {"two for a pair", u"a\r\nb"_s, u"a  b"_s},
            {"a tab as it is", u"a\tb"_s, u"a\tb"_s},
            {"a thousand letters", x.repeated(1000), x.repeated(1000)},
            {"an ellipsis for what comes after them", x.repeated(1001), x.repeated(1000) + u'…'},
            {"no half of an emoji", x.repeated(999) + u"😀y"_s, x.repeated(999) + u'…'},
            {"an emoji that ends just there", x.repeated(998) + u"😀😀"_s, x.repeated(998) + u"😀…"_s},
        };
        for (const auto& [text, line] : cases)
            QCOMPARE(singleLine(text), line);
    }
};

QTEST_GUILESS_MAIN(TestSingleLine)
#include "TestSingleLine.moc"
