#include "ui/TextScale.h"

#include <QApplication>
#include <QFontInfo>
#include <QScreen>

namespace {

/// The size in pixels that the measures are made for: 13 points are 13 pixels on macOS.
constexpr double ordinaryPixelSize = 13;
/// The largest size that a desktop comes with: GNOME's 11 points are 14.67 pixels.
constexpr int maxOrdinaryPixelSize = 15;

double textScale()
{
    const int pixelSize = QFontInfo(QApplication::font()).pixelSize();
    return pixelSize <= maxOrdinaryPixelSize ? 1 : pixelSize / ordinaryPixelSize;
}

} // namespace

int scaledToFont(int given)
{
    return qRound(given * textScale());
}

QSize scaledToFont(QSize given)
{
    return {scaledToFont(given.width()), scaledToFont(given.height())};
}

QSize scaledWindowSize(QSize given)
{
    constexpr double shareOfContent = 0.9; // the rest is for the frame, which the window system draws
    const QSize room = QGuiApplication::primaryScreen()->availableSize() * shareOfContent;
    return given.expandedTo(scaledToFont(given).boundedTo(room));
}
