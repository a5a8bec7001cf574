#include "canvas.h"

#include <QPainter>

namespace Canvas {

QColor green()
{
    return QColor(0, 185, 112);
}

QColor yellow()
{
    return QColor(249, 200, 14);
}

QColor red()
{
    return QColor(217, 30, 42);
}

QColor ink(Theme theme)
{
    return theme == Theme::Light ? QColor(0x26, 0x2b, 0x31) : QColor(0xe9, 0xec, 0xef);
}

QImage blank(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

QImage blankIcon()
{
    return blank(iconPixels, iconPixels);
}

void beginIcon(QPainter& painter, QImage& image)
{
    painter.begin(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal scale = image.width() / iconUnits;
    painter.scale(scale, scale);
}

QPen pen(const QColor& color, qreal width)
{
    QPen result(color, width);
    result.setCapStyle(Qt::RoundCap);
    result.setJoinStyle(Qt::RoundJoin);
    return result;
}

QPolygonF points(std::initializer_list<QPointF> list)
{
    return QPolygonF(QVector<QPointF>(list));
}

} // namespace Canvas
