#include "ui/TextScale.h"

#include <QApplication>
#include <QFont>
#include <QScreen>

#include <algorithm>

namespace {

/// The size in pixels that the measures are made for: 13 points are 13 pixels on macOS.
constexpr double ordinaryPixelSize = 13;
/// The largest size that a desktop comes with: GNOME's 11 points are 14.67 pixels.
constexpr double maxOrdinaryPixelSize = 15;

double pixelsPerPoint()
{
    return QGuiApplication::primaryScreen()->logicalDotsPerInchY() / 72;
}

/// The size of the desktop's text in pixels, which need not be whole.
double pixelSize()
{
    const QFont font = QApplication::font();
    return font.pixelSize() > 0 ? font.pixelSize() : font.pointSizeF() * pixelsPerPoint();
}

double textScale()
{
    return pixelSize() / ordinaryPixelSize;
}

} // namespace

void setDefaultFont()
{
    QFont font = QApplication::font();
    // The font of Qt's themes that know nothing about the desktop's.
    if (font.family() != QStringLiteral("Sans Serif") || font.pointSizeF() != 9)
        return;
    font.setPointSizeF(ordinaryPixelSize / pixelsPerPoint());
    QApplication::setFont(font);
}

int scaledToFont(int given)
{
    return qRound(given * std::max(1.0, textScale()));
}

QSize scaledToFont(QSize given)
{
    return {scaledToFont(given.width()), scaledToFont(given.height())};
}

double pointsScaledToFont(int given)
{
    return given * textScale() / pixelsPerPoint();
}

QSize scaledWindowSize(QSize given)
{
    if (pixelSize() <= maxOrdinaryPixelSize)
        return given;
    constexpr double shareOfContent = 0.9; // the rest is for the frame, which the window system draws
    const QSize room = QGuiApplication::primaryScreen()->availableSize() * shareOfContent;
    return given.expandedTo(scaledToFont(given).boundedTo(room));
}
