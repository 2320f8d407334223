#include "platform/SparklesIcon.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"
#include "ui/Colors.h"

#include <QPainter>

/// The built-in status icon.
class TestSparklesIcon final : public TestCase
{
    Q_OBJECT

private slots:
    void offersTheSizesThatPanelsAskFor()
    {
        const QIcon icon = sparklesIcon();
        QVERIFY(!icon.isNull());
        for (const int side : {16, 22, 24, 32, 44, 48})
            QVERIFY(icon.availableSizes().contains(QSize(side, side)));
        QCOMPARE(icon.pixmap(24, 24).size(), QSize(24, 24));
    }

    void standsOutOnItsPanel()
    {
        const CaseTable<QColor> cases{
            {"white", QColor(Qt::white)},
            {"light grey", QColor(222, 222, 222)},
            {"as dark as a desktop's night theme", QColor(46, 46, 46)},
            {"black", QColor(Qt::black)},
        };
        for (const auto& [panel] : cases) {
            for (const int side : {16, 22, 24, 48})
                QVERIFY2(legibleShare(onPanel(side, panel), panel) > 0.12, qPrintable(QString::number(side)));
        }
    }

    void isDrawnAndNotEnlargedAtTwiceTheScale()
    {
        const QImage drawn = onPanel(48, Qt::black);
        const QImage enlarged = onPanel(24, Qt::black).scaled(48, 48, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        const auto extremes = [](const QImage& image) {
            int count = 0;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x)
                    count += image.pixelColor(x, y).lightness() > 250 ? 1 : 0;
            }
            return count;
        };
        QVERIFY(extremes(drawn) > extremes(enlarged)); // edges are one pixel wide, not smeared over two
    }

    void noRayIsCut()
    {
        constexpr int side = 480;
        const QImage image = sparklesIcon().pixmap(side, side).toImage();
        for (int i = 0; i < side; ++i) {
            for (const QPoint at : {QPoint(i, 0), QPoint(i, side - 1), QPoint(0, i), QPoint(side - 1, i)})
                QCOMPARE(image.pixelColor(at).alpha(), 0);
        }
    }

    void isFilledOnALightPanel()
    {
        for (const int side : {16, 18, 22, 24, 32, 48}) {
            const QColor heart = onPanel(side, Qt::white).pixelColor(qRound(side * 0.4), qRound(side * 0.57));
            QVERIFY(Colors::contrast(heart, Qt::white) >= 4.5); // no outline of a star
        }
    }

private:
    static QImage onPanel(int side, const QColor& panel)
    {
        QImage image(side, side, QImage::Format_RGB32);
        image.fill(panel);
        QPainter painter(&image);
        sparklesIcon().paint(&painter, image.rect());
        return image;
    }

    /// Returns the share of pixels that have the contrast to `panel` which WCAG 2.1 requires of texts.
    static double legibleShare(const QImage& image, const QColor& panel)
    {
        int legible = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                legible += Colors::contrast(image.pixelColor(x, y), panel) >= 4.5 ? 1 : 0;
        }
        return static_cast<double>(legible) / (image.width() * image.height());
    }
};

QTEST_MAIN(TestSparklesIcon)
#include "TestSparklesIcon.moc"
