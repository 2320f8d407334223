#include "platform/SparklesIcon.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>

namespace {

/// A star in a unit square: its center and the length of its rays.
struct Star
{
    QPointF center;
    double ray = 0;
};

constexpr std::array<Star, 3> stars{{{{0.40, 0.57}, 0.33}, {{0.77, 0.24}, 0.16}, {{0.79, 0.80}, 0.13}}};

/// Adds a star with four points. Its edges are curves that bend towards the center.
void addStar(QPainterPath& path, const Star& star)
{
    const double waist = star.ray * 0.22; // the distance of the curves from the center
    const std::array<QPointF, 4> tips{QPointF(0, -star.ray), QPointF(star.ray, 0), QPointF(0, star.ray),
                                      QPointF(-star.ray, 0)};
    const std::array<QPointF, 4> bends{QPointF(waist, -waist), QPointF(waist, waist), QPointF(-waist, waist),
                                       QPointF(-waist, -waist)};
    path.moveTo(star.center + tips[0]);
    for (std::size_t i = 0; i < tips.size(); ++i)
        path.quadTo(star.center + bends[i], star.center + tips[(i + 1) % tips.size()]);
}

QPainterPath sparkles()
{
    QPainterPath path;
    for (const Star& star : stars)
        addStar(path, star);
    return path;
}

class SparklesIconEngine final : public QIconEngine
{
public:
    void paint(QPainter* painter, const QRect& rect, QIcon::Mode /*mode*/, QIcon::State /*state*/) override
    {
        // A program cannot know whether the panel is light or dark. A dark shape with a light edge is visible on both.
        const double side = qMin(rect.width(), rect.height());
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rect.center() + QPointF(0.5, 0.5) - QPointF(side, side) / 2);
        painter->scale(side, side);
        const QPainterPath shape = sparkles();
        painter->strokePath(shape, QPen(Qt::white, 0.12, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter->fillPath(shape, QColor(24, 54, 150));
        painter->restore();
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, pixmap.rect(), mode, state);
        return pixmap;
    }

    QList<QSize> availableSizes(QIcon::Mode /*mode*/, QIcon::State /*state*/) override
    {
        QList<QSize> sizes;
        for (const int side : panelIconSides)
            sizes.append({side, side});
        return sizes;
    }

    QIconEngine* clone() const override { return new SparklesIconEngine(*this); }
};

} // namespace

QIcon sparklesIcon()
{
    return QIcon(new SparklesIconEngine);
}
