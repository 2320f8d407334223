#pragma once

#include "base/ColorScheme.h"

#include <QProxyStyle>

/// The desktop's style in the color scheme that the user prefers, with a palette in which every text has enough
/// contrast, also after the theme has changed.
///
/// Setting a palette on the application would do the same. But then each window would have its own copy, and styles
/// would cache the pictures of every button for each copy.
class LegibleStyle final : public QProxyStyle
{
    Q_OBJECT

public:
    /// Wraps the application's style, unless it is wrapped already, gives all windows the palette for `scheme`, and
    /// takes the icon theme that is made for that.
    static void install(ColorScheme scheme = ColorScheme::Unknown);

    using QProxyStyle::polish;
    void polish(QPalette& palette) override;

private:
    LegibleStyle(QStyle* style, ColorScheme scheme);

    ColorScheme m_scheme;
};

/// Returns the name of the icon theme that is made for a dark or a light background and otherwise is the one called
/// `name`. Themes come in pairs, such as "breeze" and "breeze-dark". Returns `name` where the other one is not
/// installed.
QString iconThemeFor(const QString& name, bool isDark);
