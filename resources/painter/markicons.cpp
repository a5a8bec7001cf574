// Coloured marks: they keep their colours on light and dark backgrounds.
#include "painters.h"

#include <QPainter>

namespace {

constexpr qreal markWidth = 4.5;

} // namespace

QImage paintAdd()
{
    QImage image = Canvas::blankIcon();
    QPainter painter;
    Canvas::beginIcon(painter, image);
    painter.setPen(Canvas::pen(Canvas::green(), markWidth));
    painter.drawLine(QPointF(16, 6), QPointF(16, 26));
    painter.drawLine(QPointF(6, 16), QPointF(26, 16));
    painter.end();
    return image;
}

QImage paintRemove()
{
    QImage image = Canvas::blankIcon();
    QPainter painter;
    Canvas::beginIcon(painter, image);
    painter.setPen(Canvas::pen(Canvas::red(), markWidth));
    painter.drawLine(QPointF(8.5, 8.5), QPointF(23.5, 23.5));
    painter.drawLine(QPointF(23.5, 8.5), QPointF(8.5, 23.5));
    painter.end();
    return image;
}

QImage paintDot(const QColor& color)
{
    // Flat fill so the centre carries the exact status colour; the darker rim
    // keeps the yellow dot visible on white.
    QImage image = Canvas::blank(32, 32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color.darker(125), 1.5));
    painter.setBrush(color);
    painter.drawEllipse(QPointF(16, 16), 13, 13);
    painter.end();
    return image;
}
