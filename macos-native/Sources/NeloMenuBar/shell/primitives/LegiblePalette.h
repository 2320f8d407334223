#pragma once

#include <QObject>

/// Keeps the application's palette legible as long as it lives, also when the desktop changes its theme. Everything
/// else in the palette stays the theme's.
class LegiblePalette final : public QObject
{
    Q_OBJECT

public:
    explicit LegiblePalette(QObject* parent = nullptr);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};
