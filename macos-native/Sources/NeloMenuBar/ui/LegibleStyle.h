#pragma once

#include <QProxyStyle>

/// The desktop's style with a palette in which every text has enough contrast, also after the theme changes.
///
/// A palette that is set on the application would do the same, but then each window has its own copy, and styles cache
/// the pictures of every button for each copy.
class LegibleStyle final : public QProxyStyle
{
    Q_OBJECT

public:
    /// Wraps the application's style, unless it is wrapped already, and takes the icon theme that is made for its
    /// palette.
    static void install();

    using QProxyStyle::polish;
    void polish(QPalette& palette) override;

private:
    using QProxyStyle::QProxyStyle;
};
