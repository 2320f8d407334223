#include "ui/Colors.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float secondaryWeight = 0.65F; // of a text's own color
constexpr double textContrast = 4.5;     // WCAG 2.1, 1.4.3
constexpr float lineWeight = 0.5F;       // of a text's own color
constexpr double lineContrast = 3;       // WCAG 2.1, 1.4.11

QColor blend(const QColor& over, const QColor& under, float weight)
{
    const auto channel = [weight](float a, float b) { return a * weight + b * (1.0F - weight); };
    return QColor::fromRgbF(channel(over.redF(), under.redF()), channel(over.greenF(), under.greenF()),
                            channel(over.blueF(), under.blueF()));
}

/// Returns the relative luminance as WCAG 2.1 defines it. Its threshold comes from an early draft of sRGB.
double relativeLuminance(const QColor& color)
{
    const auto linear = [](double channel) {
        return channel <= 0.03928 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

bool standsOut(const QColor& color, const QColor& background, double contrast)
{
    QColor opaque = color;
    opaque.setAlphaF(1);
    return Colors::contrast(blend(opaque, background, color.alphaF()), background) >= contrast;
}

void mend(QPalette& palette, QPalette::ColorGroup group)
{
    const QColor base = palette.color(group, QPalette::Base);
    if (!standsOut(palette.color(group, QPalette::PlaceholderText), base, textContrast))
        palette.setColor(group, QPalette::PlaceholderText,
                         blend(palette.color(group, QPalette::Text), base, secondaryWeight));

    const QColor window = palette.color(group, QPalette::Window);
    if (!standsOut(palette.color(group, QPalette::Mid), window, lineContrast))
        palette.setColor(group, QPalette::Mid, blend(palette.color(group, QPalette::WindowText), window, lineWeight));

    const QColor highlight = palette.color(group, QPalette::Highlight);
    if (standsOut(palette.color(group, QPalette::HighlightedText), highlight, textContrast))
        return;
    const bool isDark =
        standsOut(Qt::white, highlight, textContrast); // one of black and white always has enough contrast
    palette.setColor(group, QPalette::HighlightedText, isDark ? Qt::white : Qt::black);
}

void setText(QPalette& palette, const QColor& text)
{
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Active, role, text);
        palette.setColor(QPalette::Inactive, role, text);
    }
}

QPalette darkAppearance()
{
    QPalette palette(Colors::white(0.22), Colors::white(0.16));
    setText(palette, Colors::white(0.96));
    palette.setColor(QPalette::Base, Colors::white(0.11));
    palette.setColor(QPalette::AlternateBase, Colors::white(0.14));
    palette.setColor(QPalette::Link, QColor(120, 174, 237));
    palette.setColor(QPalette::Highlight, QColor(48, 104, 198));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::PlaceholderText, Colors::secondaryText(palette));
    return palette;
}

} // namespace

QColor Colors::white(double whiteness)
{
    return QColor::fromRgbF(static_cast<float>(whiteness), static_cast<float>(whiteness),
                            static_cast<float>(whiteness));
}

QColor Colors::secondaryText(const QPalette& palette)
{
    return blend(palette.color(QPalette::WindowText), palette.color(QPalette::Window), secondaryWeight);
}

double Colors::contrast(const QColor& one, const QColor& other)
{
    const auto [darker, lighter] = std::minmax({relativeLuminance(one), relativeLuminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

bool Colors::isDark(const QPalette& palette)
{
    return relativeLuminance(palette.color(QPalette::Window)) < relativeLuminance(palette.color(QPalette::WindowText));
}

QPalette Colors::legible(QPalette palette)
{
    mend(palette, QPalette::Active);
    mend(palette, QPalette::Inactive);
    return palette;
}

QPalette Colors::inScheme(const QPalette& palette, ColorScheme scheme)
{
    if (scheme == ColorScheme::Dark && !isDark(palette))
        return darkAppearance();
    if (scheme == ColorScheme::Light && isDark(palette))
        return lightAppearance(white(0.94));
    return palette;
}

QPalette Colors::lightAppearance(const QColor& background)
{
    const QColor button = white(0.94);
    QPalette palette(button, background);
    setText(palette, white(0.1));
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::AlternateBase, white(0.96));
    palette.setColor(QPalette::Link, QColor(0, 87, 174));
    palette.setColor(QPalette::Highlight, QColor(48, 104, 198));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::PlaceholderText, secondaryText(palette));
    return legible(palette);
}
