#include "ui/TextScale.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"
#include "ui/JsonTable.h"
#include "ui/Labels.h"

#include <QApplication>
#include <QFontInfo>
#include <QScreen>

using namespace Qt::StringLiterals;

/// Measures that grow with the text of the desktop.
class TestTextScale final : public TestCase
{
    Q_OBJECT

private slots:
    void cleanup() override
    {
        QApplication::setFont(m_font);
        TestCase::cleanup();
    }

    void measuresGrowWithTheTextAndTextsFollowIt()
    {
        const CaseTable<double, int, int> cases{
            {"10 pixels", 10, 100, 77},
            {"12 pixels, 9 points", 12, 100, 92},
            {"13 pixels are what is given", 13, 100, 100},
            {"Plasma, 10 points", 10 / 0.75, 103, 103},
            {"GNOME, 11 points", 11 / 0.75, 113, 113},
            {"twice the size", 26, 200, 200},
        };
        for (const auto& [pixels, measure, text] : cases) {
            QFont font = QApplication::font();
            font.setPointSizeF(pixels / pixelsPerPoint());
            QApplication::setFont(font);
            QCOMPARE(scaledToFont(100), measure);
            QCOMPARE(qRound(pointsScaledToFont(100) * pixelsPerPoint()), text);
        }
    }

    void onlyAFontThatNoDesktopHasChosenIsMadeOrdinary()
    {
        const CaseTable<QFont, double> cases{
            {"no desktop", QFont(u"Sans Serif"_s, 9), 13},
            {"another size", QFont(u"Sans Serif"_s, 8), 8 * pixelsPerPoint()},
            {"another family", QFont(u"Noto Sans"_s, 9), 9 * pixelsPerPoint()},
        };
        for (const auto& [font, pixels] : cases) {
            QApplication::setFont(font);
            setDefaultFont();
            QCOMPARE(QApplication::font().family(), font.family());
            QCOMPARE(QApplication::font().pointSizeF() * pixelsPerPoint(), pixels);
        }
    }

    void fontsAndColumnsGrow()
    {
        QCOMPARE(QFontInfo(fontOfSize(QFont(), 18)).pixelSize(), 18);
        setTextSize(26);
        QCOMPARE(QFontInfo(fontOfSize(QFont(), 18)).pixelSize(), 36);
        const JsonTable table({{.key = "id", .title = u"ID"_s, .width = 120}}, {});
        QCOMPARE(table.columnWidth(0), 240);
        QCOMPARE(scaledToFont(QSize(280, 24)), QSize(560, 48));
    }

    void aWindowGrows()
    {
        const int room = QGuiApplication::primaryScreen()->availableSize().width();
        const CaseTable<QSize, QSize> cases{
            {"twice its size where there is room", QSize(200, 100), QSize(400, 200)},
            {"no further than the screen, less a frame", QSize(room / 2, 100), QSize(room * 9 / 10, 200)},
            {"and is never smaller than without", QSize(room * 19 / 20, 100), QSize(room * 19 / 20, 200)},
        };
        for (const auto& [given, grown] : cases) {
            setTextSize(15); // the largest default size of a desktop
            QCOMPARE(scaledWindowSize(given), given);
            setTextSize(26);
            QCOMPARE(scaledWindowSize(given), grown);
        }
    }

private:
    static double pixelsPerPoint() { return QGuiApplication::primaryScreen()->logicalDotsPerInchY() / 72; }

    static void setTextSize(int pixelSize)
    {
        QFont font = QApplication::font();
        font.setPixelSize(pixelSize);
        QApplication::setFont(font);
    }

    const QFont m_font = QApplication::font();
};

QTEST_MAIN(TestTextScale)
#include "TestTextScale.moc"
