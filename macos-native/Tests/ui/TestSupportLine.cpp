#include "ui/Labels.h"

#include "support/Warnings.h"

#include <QLabel>
#include <QTest>
#include <QTextDocument>
#include <QTextFragment>

namespace {

/// The formats of the line's pieces, in order.
QList<QTextCharFormat> formatsOf(const QLabel& line)
{
    QTextDocument document;
    document.setHtml(line.text());
    QList<QTextCharFormat> formats;
    const QTextBlock block = document.begin();
    for (auto piece = block.begin(); piece != block.end(); ++piece)
        formats.append(piece.fragment().charFormat());
    return formats;
}

} // namespace

/// The line with the link to customer service, as it is drawn.
class TestSupportLine final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void theLinkHasItsOwnLook_data()
    {
        QTest::addColumn<int>("size");
        QTest::newRow("above the console's tabs") << 13;
        QTest::newRow("above the conversation") << 14;
    }

    void theLinkHasItsOwnLook()
    {
        QFETCH(int, size);
        QWidget window;
        const QLabel* line = makeSupportLine(size, &window);
        const QTextCharFormat link = formatsOf(*line).value(1);
        QVERIFY(link.isAnchor());
        QCOMPARE(link.anchorHref(), QStringLiteral("https://nelo.example/support"));
        QCOMPARE(QFontInfo(link.font()).pixelSize(), size);
        QCOMPARE(link.fontWeight(), int(QFont::Medium));
        QVERIFY(link.fontUnderline());
        QCOMPARE(link.foreground().color(), window.palette().color(QPalette::Link));
    }

    void theIntroductionHasTheLabelsFont()
    {
        QWidget window;
        const QTextCharFormat introduction = formatsOf(*makeSupportLine(13, &window)).value(0);
        QVERIFY(!introduction.isAnchor());
        QVERIFY(!introduction.hasProperty(QTextFormat::FontPointSize));
        QVERIFY(!introduction.hasProperty(QTextFormat::FontPointSize));
        QVERIFY(!introduction.hasProperty(QTextFormat::FontWeight));
    }
};

QTEST_MAIN(TestSupportLine)
#include "TestSupportLine.moc"
