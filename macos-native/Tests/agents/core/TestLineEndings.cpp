#include "agents/core/LineEndings.h"

#include "support/Warnings.h"

#include <QTest>

Q_DECLARE_METATYPE(LineEnding)
Q_DECLARE_METATYPE(std::vector<LineEnding>)

using Endings = std::vector<LineEnding>;

/// How the lines of a text end.
class TestLineEndings final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void endingsAreFound_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<Endings>("endings");

        QTest::newRow("none in an empty text") << QString() << Endings();
        QTest::newRow("none in a single line") << QStringLiteral("{}") << Endings();
        QTest::newRow("a final one counts") << QStringLiteral("{}\n") << Endings{LineEnding::LineFeed};
        QTest::newRow("two in a row are two")
            << QStringLiteral("a\n\nb") << Endings{LineEnding::LineFeed, LineEnding::LineFeed};
        QTest::newRow("a carriage return and a line feed are one")
            << QStringLiteral("a\r\nb\r\n")
            << Endings{LineEnding::CarriageReturnLineFeed, LineEnding::CarriageReturnLineFeed};
        QTest::newRow("a line feed and a carriage return are two")
            << QStringLiteral("a\n\rb") << Endings{LineEnding::LineFeed, LineEnding::CarriageReturn};
        QTest::newRow("carriage returns before one with a line feed stand alone")
            << QStringLiteral("\r\r\n") << Endings{LineEnding::CarriageReturn, LineEnding::CarriageReturnLineFeed};
        QTest::newRow("a carriage return at the very end")
            << QStringLiteral("a\r") << Endings{LineEnding::CarriageReturn};
        QTest::newRow("what a document takes for one")
            << QStringLiteral("a\u2029b\ufdd0c\ufdd1")
            << Endings{LineEnding::ParagraphSeparator, LineEnding::BeginningOfFrame, LineEnding::EndOfFrame};
        QTest::newRow("no line separator, form feed or next line")
            << QStringLiteral("a\u2028b\fc\u0085d\ve") << Endings();
    }

    void endingsAreFound()
    {
        QFETCH(QString, text);
        QFETCH(Endings, endings);
        QVERIFY(lineEndings(text) == endings);

        QString found;
        for (const LineEnding ending : lineEndings(text))
            found += charactersOf(ending);
        static const QRegularExpression others(QStringLiteral("[^\\n\\r\\x{2029}\\x{fdd0}\\x{fdd1}]"));
        const QString expected = QString(text).remove(others);
        QCOMPARE(found, expected);
    }

    void theMostFrequentIsUsual_data()
    {
        QTest::addColumn<Endings>("endings");
        QTest::addColumn<LineEnding>("usual");
        const LineEnding lineFeed = LineEnding::LineFeed;
        const LineEnding both = LineEnding::CarriageReturnLineFeed;

        QTest::newRow("a line feed when there is none") << Endings() << lineFeed;
        QTest::newRow("the only one") << Endings{both} << both;
        QTest::newRow("the majority") << Endings{both, lineFeed, both} << both;
        QTest::newRow("a line feed at a tie") << Endings{both, lineFeed} << lineFeed;
    }

    void theMostFrequentIsUsual()
    {
        QFETCH(Endings, endings);
        QFETCH(LineEnding, usual);
        QVERIFY(usualLineEnding(endings) == usual);
    }
};

QTEST_GUILESS_MAIN(TestLineEndings)
#include "TestLineEndings.moc"
