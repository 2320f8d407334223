#include "ui/TextScale.h"

#include "support/Warnings.h"
#include "ui/JsonTable.h"
#include "ui/Labels.h"

#include <QApplication>
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
        QTest::addColumn<int>("pixelSize");
        QTest::addColumn<int>("grown");
        QTest::newRow("very small text makes nothing smaller") << 7 << 100;
        QTest::newRow("9 points on a display of 96 dpi are ordinary") << 12 << 100;
        QTest::newRow("13 points on macOS are ordinary") << 13 << 100;
        QTest::newRow("11 points on a display of 96 dpi are ordinary") << 15 << 100;
        QTest::newRow("a little larger is larger than 13 pixels") << 16 << 123;
        QTest::newRow("twice macOS' size") << 26 << 200;
        QTest::newRow("three times that") << 39 << 300;
    }

    void measuresFollowTheText()
    {
        QFETCH(int, pixelSize);
        setTextSize(pixelSize);
        QTEST(scaledToFont(100), "grown");
    }

    void aSizeGrowsBothWays()
    {
        setTextSize(26);
        QCOMPARE(scaledToFont(QSize(280, 24)), QSize(560, 48));
    }

    void aFontsOwnSizeGrows()
    {
        QCOMPARE(fontOfSize(QFont(), 18).pixelSize(), 18);
        setTextSize(26);
        QCOMPARE(fontOfSize(QFont(), 18).pixelSize(), 36);
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
