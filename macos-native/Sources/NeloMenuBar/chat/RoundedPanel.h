#pragma once

#include <QWidget>

/// A panel with round corners in its palette's window colour.
class RoundedPanel final : public QWidget
{
    Q_OBJECT

public:
    /// An invalid `border` draws none.
    RoundedPanel(int radius, const QColor& border, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_radius;
    QColor m_border;
};
