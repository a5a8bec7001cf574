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

QImage paint(int pixels, qreal units, const Drawing& draw)
{
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(pixels / units, pixels / units);
    draw(painter);
    painter.end();
    return image;
}

QImage paintIcon(const QColor& ink, const IconDrawing& draw)
{
    return paint(iconPixels, iconUnits, [&](QPainter& painter) {
        painter.setPen(pen(ink));
        draw(painter, ink);
    });
}

void addThemed(Catalogue& images, const QString& pattern, const IconDrawing& draw)
{
    for (const Theme theme : {Theme::Light, Theme::Dark})
        images.insert(pattern.arg(theme == Theme::Light ? QStringLiteral("light") : QStringLiteral("dark")),
                      [theme, draw] { return paintIcon(ink(theme), draw); });
}

} // namespace Canvas
