#pragma once

#include <QProxyStyle>

/// The Fusion style in the colors of a desktop's theme.
class ThemeStyle final : public QProxyStyle
{
public:
    explicit ThemeStyle(const QPalette& theme) : QProxyStyle(QStringLiteral("fusion")), m_theme(theme) {}

    using QProxyStyle::polish;
    void polish(QPalette& palette) override { palette = m_theme; }

private:
    QPalette m_theme;
};
