#include "ui/TextScale.h"

#include "support/Cases.h"
#include "support/Warnings.h"
#include "ui/JsonTable.h"
#include "ui/Labels.h"

#include <QApplication>
#include <QFontInfo>
#include <QScreen>
#include <QTest>

/// Measures that grow with the text of the desktop.
class TestTextScale final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_fontBefore = QApplication::font();
    }

    void cleanup() { QApplication::setFont(m_fontBefore); }

    void measuresFollowTheText_data()
    {
        const Cases<double, int> add("points", "grown");
        add("very small text makes nothing smaller", 5, 100);
        add("where no desktop says anything, 12 pixels, nothing is smaller", 9, 100);
        add("13 pixels are what is given", 9.75, 100);
        add("Plasma, 13.33 pixels", 10, 103);
        add("GNOME, 14.67 pixels", 11, 113);
        add("twice the size", 19.5, 200);
        add("three times the size", 29.25, 300);
    }

    void measuresFollowTheText()
    {
        QFETCH(double, points);
        QFont font = QApplication::font();
        font.setPointSizeF(points);
        QApplication::setFont(font);
        QTEST(scaledToFont(100), "grown");
    }

    void aSizeGrowsBothWays()
    {
        setTextSize(26);
        QCOMPARE(scaledToFont(QSize(280, 24)), QSize(560, 48));
    }

    void aFontsOwnSizeGrows()
    {
        QCOMPARE(QFontInfo(fontOfSize(QFont(), 18)).pixelSize(), 18);
        setTextSize(26);
        QCOMPARE(QFontInfo(fontOfSize(QFont(), 18)).pixelSize(), 36);
    }

    void aColumnGrows()
    {
        setTextSize(26);
        const JsonTable table({{.key = "id", .title = QStringLiteral("ID"), .width = 120}}, {});
        QCOMPARE(table.columnWidth(0), 240);
    }

    void aWindowGrows_data()
    {
        const int room = QGuiApplication::primaryScreen()->availableSize().width();
        QTest::addColumn<QSize>("given");
        QTest::addColumn<QSize>("grown");
        QTest::newRow("twice its size where there is room") << QSize(200, 100) << QSize(400, 200);
        QTest::newRow("no further than the screen, less a frame") << QSize(room / 2, 100) << QSize(room * 9 / 10, 200);
        QTest::newRow("and is never smaller than without") << QSize(room * 19 / 20, 100) << QSize(room * 19 / 20, 200);
    }

    void aWindowGrows()
    {
        QFETCH(QSize, given);
        QFETCH(QSize, grown);
        setTextSize(15); // the largest that a desktop comes with
        QCOMPARE(scaledWindowSize(given), given);
        setTextSize(26);
        QCOMPARE(scaledWindowSize(given), grown);
    }

private:
    static void setTextSize(int pixelSize)
    {
        QFont font = QApplication::font();
        font.setPixelSize(pixelSize);
        QApplication::setFont(font);
    }

    QFont m_fontBefore;
};

QTEST_MAIN(TestTextScale)
#include "TestTextScale.moc"
