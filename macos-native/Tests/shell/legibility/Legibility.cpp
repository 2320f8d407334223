#include "shell/legibility/Legibility.h"

#include "shell/legibility/ShownText.h"
#include "ui/Colors.h"

#include <QAbstractItemView>
#include <QAbstractScrollArea>
#include <QComboBox>
#include <QHash>
#include <QImage>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QStackedWidget>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr double enough = 4.5; // WCAG 2.1, 1.4.3

QString describe(const ShownText& text)
{
    return u"%1 (%2)"_s.arg(text.text.left(40), text.place);
}

QString measures(QSize size)
{
    return u"%1 x %2"_s.arg(QString::number(size.width()), QString::number(size.height()));
}

bool fits(QSize needed, QSize room)
{
    return needed.width() <= room.width() && needed.height() <= room.height();
}

/// Returns whether all of `widget` is visible or can be scrolled to.
bool isReachable(const QWidget& widget)
{
    const QWidget* child = &widget;
    for (const QWidget* parent = child->parentWidget(); parent && !child->isWindow(); parent = parent->parentWidget()) {
        const bool scrolls = qobject_cast<const QScrollArea*>(parent->parentWidget()) != nullptr;
        if (!scrolls && !parent->rect().contains(child->geometry()))
            return false;
        child = parent;
    }
    return true;
}

/// Returns whether the style of `parent` places its children, and no layout of ours.
bool placesItsOwnParts(const QWidget& parent)
{
    return qobject_cast<const QAbstractScrollArea*>(&parent) || qobject_cast<const QComboBox*>(&parent)
           || qobject_cast<const QStackedWidget*>(&parent);
}

/// Returns a picture of `window` that is four times as large. A stroke of a small letter is narrower than a pixel, and
/// the pixel would have only a part of its color.
QImage enlarged(QWidget& window)
{
    constexpr int scale = 4;
    QImage image(window.size() * scale, QImage::Format_RGB32);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::magenta);
    window.render(&image);
    return image;
}

/// Returns the contrast in `image` between the most frequent color of `part` and the color that differs most from it.
double contrastIn(const QImage& image, const QRect& part)
{
    const int scale = qRound(image.devicePixelRatio());
    const QRect pixels = QRect(part.topLeft() * scale, part.size() * scale) & image.rect();
    QHash<QRgb, int> counts;
    for (int y = pixels.top(); y <= pixels.bottom(); ++y) {
        for (int x = pixels.left(); x <= pixels.right(); ++x)
            ++counts[image.pixel(x, y)];
    }
    if (counts.isEmpty())
        return std::numeric_limits<double>::max(); // scrolled out of sight
    const auto most = std::max_element(counts.cbegin(), counts.cend());
    double highest = 1;
    for (auto color = counts.cbegin(); color != counts.cend(); ++color)
        highest = std::max(highest, Colors::contrast(QColor(color.key()), QColor(most.key())));
    return highest;
}

} // namespace

QStringList Legibility::clippedTexts(QWidget& window)
{
    QStringList findings;
    for (const ShownText& text : textsShownBy(window)) {
        if (!fits(text.needed, text.room.size()))
            findings.append(
                u"%1 needs %2 and has %3"_s.arg(describe(text), measures(text.needed), measures(text.room.size())));
    }
    for (const QScrollArea* area : window.findChildren<QScrollArea*>()) {
        if (area->isVisible() && area->horizontalScrollBar()->maximum() > 0)
            findings.append(u"%1 scrolls sideways"_s.arg(QLatin1String(area->metaObject()->className())));
    }
    for (const QWidget* widget : window.findChildren<QWidget*>()) {
        if (widget->isVisible() && widget->window() == &window && !isReachable(*widget))
            findings.append(u"%1 %2 is partly outside of its parent"_s.arg(
                QLatin1String(widget->metaObject()->className()), widget->objectName()));
    }
    return findings;
}

QStringList Legibility::overlaps(const QWidget& window)
{
    QStringList findings;
    QList<const QWidget*> parents{&window};
    for (const QWidget* widget : window.findChildren<QWidget*>())
        parents.append(widget);
    for (const QWidget* parent : std::as_const(parents)) {
        if (placesItsOwnParts(*parent))
            continue;
        QList<const QWidget*> children;
        for (const QWidget* child : parent->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
            if (!child->isVisible() || child->isWindow())
                continue;
            for (const QWidget* other : std::as_const(children)) {
                if (child->geometry().intersects(other->geometry()))
                    findings.append(u"%1 %2 overlaps %3 %4"_s.arg(
                        QLatin1String(child->metaObject()->className()), child->objectName(),
                        QLatin1String(other->metaObject()->className()), other->objectName()));
            }
            children.append(child);
        }
    }
    return findings;
}

QStringList Legibility::faintTexts(QWidget& window)
{
    const QImage image = enlarged(window);
    QStringList findings;
    for (const ShownText& text : textsShownBy(window)) {
        const double contrast = contrastIn(image, text.inSight);
        if (contrast < text.contrast)
            findings.append(u"%1: %2"_s.arg(describe(text), QString::number(contrast, 'f', 2)));
    }
    return findings;
}

QStringList Legibility::faintSelections(const QWidget& window)
{
    QStringList findings;
    for (const QWidget* widget : window.findChildren<QWidget*>()) {
        const bool selects = qobject_cast<const QLineEdit*>(widget) || qobject_cast<const QPlainTextEdit*>(widget)
                             || qobject_cast<const QAbstractItemView*>(widget)
                             || qobject_cast<const QComboBox*>(widget);
        if (!selects)
            continue;
        for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive}) {
            const double contrast = Colors::contrast(widget->palette().color(group, QPalette::HighlightedText),
                                                     widget->palette().color(group, QPalette::Highlight));
            if (contrast < enough)
                findings.append(u"%1 %2, selected: %3"_s.arg(QLatin1String(widget->metaObject()->className()),
                                                             widget->objectName(), QString::number(contrast, 'f', 2)));
        }
    }
    return findings;
}
