#include "shell/MenuBarImage.h"

#include "support/TestHome.h"
#include "support/Warnings.h"

#include <QDir>
#include <QImage>
#include <QPainter>
#include <QTest>

#include <sys/stat.h>

/// The user's own status-bar image.
class TestMenuBarImage final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void noFileIsNoImage()
    {
        const TestHome home;
        QVERIFY(menuBarImage().isNull());
    }

    void aFileThatIsNoImageIsNone_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("text") << QByteArray("hello");
        QTest::newRow("only an image's first bytes") << QByteArray("\x89PNG\r\n\x1a\n");
    }

    void aFileThatIsNoImageIsNone()
    {
        QFETCH(QByteArray, bytes);
        const TestHome home;
        writeImageFile(home, bytes);
        QVERIFY(menuBarImage().isNull());
    }

    void aFolderInItsPlaceIsNone()
    {
        const TestHome home;
        QVERIFY(QDir(home.path()).mkpath(QStringLiteral("Desktop/nelo.png")));
        QVERIFY(menuBarImage().isNull());
    }

    void aPipeInItsPlaceIsNone()
    {
        const TestHome home;
        QVERIFY(QDir(home.path()).mkpath(QStringLiteral("Desktop")));
        QCOMPARE(mkfifo(QFile::encodeName(home.path(QStringLiteral("Desktop/nelo.png"))).constData(), 0600), 0);
        QVERIFY(menuBarImage().isNull());
    }

    void aLargeImageIsEighteenPointsHigh()
    {
        const TestHome home;
        QImage image(512, 512, QImage::Format_RGB32);
        image.fill(Qt::red);
        saveImage(home, image, "png");
        const QIcon icon = menuBarImage();
        QCOMPARE(icon.actualSize({512, 512}), QSize(18, 18));
        QPixmap sharp = icon.pixmap({18, 18}, 2.0);
        QCOMPARE(sharp.size(), QSize(36, 36)); // twice the pixels, not enlarged ones
        QVERIFY(!icon.isMask());
    }

    void itKeepsItsColours()
    {
        const TestHome home;
        QImage image(64, 64, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        QPainter(&image).fillRect(0, 0, 32, 64, QColor(10, 200, 30));
        saveImage(home, image, "png");
        const QImage shown = menuBarImage().pixmap({18, 18}).toImage();
        QCOMPARE(shown.pixelColor(4, 9), QColor(10, 200, 30));
        QCOMPARE(shown.pixelColor(14, 9).alpha(), 0);
    }

    void anImageThatIsNotSquareIsMadeSo()
    {
        const TestHome home;
        QImage image(200, 50, QImage::Format_RGB32);
        image.fill(Qt::blue);
        saveImage(home, image, "png");
        QCOMPARE(menuBarImage().pixmap({18, 18}).size(), QSize(18, 18));
    }

    void contentDecidesNotTheName()
    {
        const TestHome home;
        QImage image(20, 20, QImage::Format_RGB32);
        image.fill(Qt::blue);
        saveImage(home, image, "bmp");
        QVERIFY(!menuBarImage().isNull());
    }

private:
    /// Writes `bytes` as the image's file.
    static void writeImageFile(const TestHome& home, const QByteArray& bytes)
    {
        QVERIFY(QDir(home.path()).mkpath(QStringLiteral("Desktop")));
        QFile file(home.path(QStringLiteral("Desktop/nelo.png")));
        QVERIFY(file.open(QFile::WriteOnly));
        QCOMPARE(file.write(bytes), bytes.size());
    }

    static void saveImage(const TestHome& home, const QImage& image, const char* format)
    {
        QVERIFY(QDir(home.path()).mkpath(QStringLiteral("Desktop")));
        QVERIFY(image.save(home.path(QStringLiteral("Desktop/nelo.png")), format));
    }
};

QTEST_MAIN(TestMenuBarImage)
#include "TestMenuBarImage.moc"
