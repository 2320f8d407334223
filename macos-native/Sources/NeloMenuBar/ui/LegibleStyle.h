#pragma once

#include <QProxyStyle>

/// Draws as the desktop's style does, and mends what its palette leaves too faint to read, also when the theme changes.
///
/// A palette set on the application would do so too, but each window then has a copy of its own, and styles keep
/// pictures of every button for each copy.
class LegibleStyle final : public QProxyStyle
{
    Q_OBJECT

public:
    /// Puts it before the application's style, once.
    static void install();

    using QProxyStyle::polish;
    void polish(QPalette& palette) override;

private:
    using QProxyStyle::QProxyStyle;
};
