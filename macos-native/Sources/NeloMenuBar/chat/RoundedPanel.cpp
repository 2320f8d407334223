#include "chat/RoundedPanel.h"

#include <QPainter>

RoundedPanel::RoundedPanel(int radius, const QColor& border, QWidget* parent)
    : QWidget(parent), m_radius(radius), m_border(border)
{}

void RoundedPanel::paintEvent(QPaintEvent* /*event*/)
{
    const double inset = m_border.isValid() ? 0.5 : 0; // a line lies half on either side
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(m_border.isValid() ? QPen(m_border) : QPen(Qt::NoPen));
    painter.setBrush(palette().window());
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), m_radius - inset, m_radius - inset);
}
