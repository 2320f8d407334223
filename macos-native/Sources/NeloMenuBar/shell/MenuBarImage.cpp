#include "shell/MenuBarImage.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImageReader>
#include <QPixmap>

namespace {

/// Reads an image with 32 bits for each pixel. Returns a null image when there is none. A large image is scaled
/// down while it is read, if its format allows that: Qt refuses to read more than 128 MB at once.
QImage read(const QString& file)
{
    constexpr int largeSide = 2048;
    constexpr QSize reducedSize(256, 256);
    QImageReader reader(file);
    reader.setDecideFormatFromContent(true); // the file's name says nothing about its format
    const QSize size = reader.size();
    if (size.width() > largeSide || size.height() > largeSide)
        reader.setScaledSize(reducedSize);
    return reader.read().convertToFormat(
        QImage::Format_ARGB32_Premultiplied); // an image with a palette would be scaled badly
}

} // namespace

QIcon menuBarImage()
{
    constexpr int side = 18;
    const QString file = QDir::home().filePath(QStringLiteral("Desktop/nelo.png"));
    if (!QFileInfo(file).isFile()) // reading a pipe would block
        return {};
    const QImage image = read(file);
    if (image.isNull())
        return {};

    QIcon icon;
    for (const double scale : {1.0, 2.0, 3.0, qGuiApp->devicePixelRatio()}) {
        QImage scaled =
            image.scaled((QSizeF(side, side) * scale).toSize(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        scaled.setDevicePixelRatio(scale);
        icon.addPixmap(QPixmap::fromImage(scaled));
    }
    return icon;
}
