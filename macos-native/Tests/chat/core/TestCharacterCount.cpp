#include "chat/core/CharacterCount.h"

#include "support/Warnings.h"

#include <QFile>
#include <QTest>

namespace {

/// A line such as "÷ 0020 × 0308 ÷ 0020 ÷	# what it is about" of Unicode's test: where a text may be divided.
struct BreakTest
{
    QString text;
    qsizetype clusters = 0;
};

BreakTest parse(const QString& line)
{
    BreakTest test;
    const QStringList words = line.section(QLatin1Char('#'), 0, 0).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString& word : words) {
        bool isCharacter = false;
        const char32_t character = word.toUInt(&isCharacter, 16);
        if (isCharacter)
            test.text += QString::fromUcs4(&character, 1);
        else if (word.startsWith(QChar(u'÷')))
            ++test.clusters;
    }
    --test.clusters; // the first boundary is before the first cluster
    return test;
}

} // namespace

/// Characters as a reader counts them.
class TestCharacterCount final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void countsWhatAReaderSees_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<qsizetype>("count");
        QTest::newRow("nothing") << QString() << qsizetype(0);
        QTest::newRow("letters and blanks") << QStringLiteral("to be") << qsizetype(5);
        QTest::newRow("Chinese") << QStringLiteral("您好，nelo") << qsizetype(7);
        QTest::newRow("a letter with three marks") << QStringLiteral("e\u0301\u0323\u0308") << qsizetype(1);
        QTest::newRow("an emoji outside the basic plane") << QStringLiteral("👋") << qsizetype(1);
        QTest::newRow("an emoji with a skin colour") << QStringLiteral("👋🏽") << qsizetype(1);
        QTest::newRow("a family") << QStringLiteral("👨‍👩‍👧‍👦") << qsizetype(1);
        QTest::newRow("two flags") << QStringLiteral("🇩🇪🇨🇳") << qsizetype(2);
        QTest::newRow("a Korean syllable in its letters") << QStringLiteral("\u1112\u1161\u11ab") << qsizetype(1);
        QTest::newRow("a Devanagari sign of a vowel") << QStringLiteral("कि") << qsizetype(1);
        QTest::newRow("a Devanagari visarga") << QStringLiteral("कः") << qsizetype(1);
        QTest::newRow("a carriage return with its line feed") << QStringLiteral("a\r\nb") << qsizetype(3);
        QTest::newRow("two line feeds") << QStringLiteral("\n\n") << qsizetype(2);
        QTest::newRow("a zero character") << QString(QChar(0)) << qsizetype(1);
        QTest::newRow("half a surrogate pair") << QString(QChar(0xd83d)) + QStringLiteral("a") << qsizetype(2);
        QTest::newRow("a million letters") << QString(1'000'000, QLatin1Char('x')) << qsizetype(1'000'000);
    }

    void countsWhatAReaderSees()
    {
        QFETCH(QString, text);
        QFETCH(qsizetype, count);
        QCOMPARE(characterCount(text), count);
    }

    void agreesWithUnicodesOwnTest()
    {
        QFile file(QStringLiteral(NELO_GRAPHEME_BREAK_TEST));
        QVERIFY2(file.open(QFile::ReadOnly), "Debian's package unicode-data is not installed");
        int tests = 0;
        while (!file.atEnd()) {
            const QString line = QString::fromUtf8(file.readLine()).trimmed();
            if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
                continue;
            const BreakTest test = parse(line);
            QVERIFY2(characterCount(test.text) == test.clusters, qPrintable(line));
            ++tests;
        }
        QVERIFY(tests > 500);
    }
};

QTEST_GUILESS_MAIN(TestCharacterCount)
#include "TestCharacterCount.moc"
