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
    void cleanup() { QApplication::setFont(m_font); }

    void measuresFollowTheText()
    {
        const CaseTable<double, int> cases{
            {"very small text makes nothing smaller", 5, 100},
            {"where no desktop says anything, 12 pixels, nothing is smaller", 9, 100},
            {"13 pixels are what is given", 9.75, 100},
            {"Plasma, 13.33 pixels", 10, 103},
            {"GNOME, 14.67 pixels", 11, 113},
            {"twice the size", 19.5, 200},
            {"three times the size", 29.25, 300},
        };
        for (const auto& [points, grown] : cases) {
            QFont font = QApplication::font();
            font.setPointSizeF(points);
            QApplication::setFont(font);
            QCOMPARE(scaledToFont(100), grown);
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
