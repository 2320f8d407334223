#include "shell/MenuBarImage.h"

#include "support/CaseTable.h"
#include "support/Files.h"
#include "support/TestCase.h"
#include "support/TestHome.h"

#include <QDir>
#include <QImage>
#include <QPainter>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

/// The user's own status-bar image.
class TestMenuBarImage final : public TestCase
{
    Q_OBJECT

private slots:
    void init() override
    {
        TestCase::init();
        QVERIFY(QDir(m_home->path()).mkpath(u"Desktop"_s));
    }

    void otherBytesAreNoImage()
    {
        const CaseTable<QByteArray> cases{
            {"empty", {}},
            {"text", "hello"},
            {"only an image's first bytes", "\x89PNG\r\n\x1a\n"},
        };
        QVERIFY(menuBarImage().isNull()); // no file
        for (const auto& [bytes] : cases) {
            Files::create(file(), bytes);
            QVERIFY(menuBarImage().isNull());
        }
    }

    void aFolderOrAPipeIsNoImage()
    {
        QVERIFY(QDir().mkpath(file()));
        QVERIFY(menuBarImage().isNull());
        QVERIFY(QDir().rmdir(file()));
        QCOMPARE(mkfifo(QFile::encodeName(file()).constData(), 0600), 0);
        QVERIFY(menuBarImage().isNull());
    }

    void itIsEighteenPointsHighAndWide()
    {
        const CaseTable<QSize> cases{
            {"square", QSize(512, 512)},
            {"wide", QSize(200, 50)},
            {"larger than Qt reads at once", QSize(6500, 6500)},
        };
        for (const auto& [size] : cases) {
            QImage image(size, QImage::Format_RGB888);
            image.fill(Qt::red);
            save(image);
            const QIcon icon = menuBarImage();
            QCOMPARE(icon.actualSize({512, 512}), QSize(18, 18));
            QCOMPARE(icon.pixmap({18, 18}).toImage().pixelColor(9, 9), QColor(Qt::red));
            QCOMPARE(icon.pixmap({18, 18}, 2.0).size(), QSize(36, 36)); // twice the pixels, not enlarged ones
            QVERIFY(!icon.isMask());
        }
    }

    void itKeepsItsColors()
    {
        const CaseTable<QImage::Format> cases{
            {"transparent", QImage::Format_ARGB32},
            {"a palette of two", QImage::Format_Mono},
            {"a palette of many", QImage::Format_Indexed8},
        };
        for (const auto& [format] : cases) {
            const QColor left(10, 200, 30);
            const QColor right = format == QImage::Format_ARGB32 ? QColor(Qt::transparent) : QColor(Qt::blue);
            QImage image(64, 64, QImage::Format_ARGB32);
            image.fill(right);
            QPainter(&image).fillRect(0, 0, 32, 64, left);
            save(format == QImage::Format_ARGB32 ? image : image.convertToFormat(format, {right.rgb(), left.rgb()}));
            const QImage shown = menuBarImage().pixmap({18, 18}).toImage();
            QCOMPARE(shown.pixelColor(4, 9), left);
            QCOMPARE(shown.pixelColor(14, 9), right);
        }
    }

    void theContentDecidesTheFormatAndNotTheName()
    {
        QImage image(18, 18, QImage::Format_RGB32);
        image.fill(Qt::blue);
        image.setPixelColor(4, 9, Qt::red);
        save(image, "bmp");
        QCOMPARE(menuBarImage().pixmap({18, 18}).toImage().pixelColor(4, 9), QColor(Qt::red)); // not blurred
    }

private:
    QString file() const { return m_home->path(u"Desktop/nelo.png"_s); }

    void save(const QImage& image, const char* format = "png") const { QVERIFY(image.save(file(), format)); }

    Fresh<TestHome> m_home{this};
};

QTEST_MAIN(TestMenuBarImage)
#include "TestMenuBarImage.moc"
