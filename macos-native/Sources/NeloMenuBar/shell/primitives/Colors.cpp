#include "shell/primitives/Colors.h"

namespace {

QColor blend(const QColor& over, const QColor& under, float weight)
{
    const auto channel = [weight](float a, float b) { return a * weight + b * (1.0F - weight); };
    return QColor::fromRgbF(channel(over.redF(), under.redF()), channel(over.greenF(), under.greenF()),
                            channel(over.blueF(), under.blueF()));
}

} // namespace

QColor Colors::white(double whiteness)
{
    return QColor::fromRgbF(static_cast<float>(whiteness), static_cast<float>(whiteness),
                            static_cast<float>(whiteness));
}

QColor Colors::secondaryText(const QPalette& palette)
{
    return blend(palette.color(QPalette::WindowText), palette.color(QPalette::Window), 0.65F);
}

QPalette Colors::lightAppearance(const QColor& background)
{
    const QColor button = white(0.94);
    const QColor text = white(0.1);
    QPalette palette(button, background);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Active, role, text);
        palette.setColor(QPalette::Inactive, role, text);
    }
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::AlternateBase, white(0.96));
    palette.setColor(QPalette::Link, QColor(0, 87, 174));
    palette.setColor(QPalette::Highlight, QColor(48, 104, 198));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::PlaceholderText, secondaryText(palette));
    return palette;
}
