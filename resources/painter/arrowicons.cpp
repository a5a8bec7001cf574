// Arrows: moving actions up and down, and the refresh button's circular arrow.
#include "painters.h"

#include <QPainter>
#include <QPainterPath>
#include <QtMath>

namespace {

// An upward arrow, optionally with a bar above it; the downward forms are the
// same drawing mirrored, so the pairs match exactly.
Canvas::IconDrawing arrow(bool pointsUp, bool withBar)
{
    return [pointsUp, withBar](QPainter& painter, const QColor&) {
        if (!pointsUp) {
            painter.translate(0, Canvas::iconUnits);
            painter.scale(1, -1);
        }
        const qreal tip = withBar ? 11.5 : 5.5;
        const qreal wing = withBar ? 7.0 : 8.5;
        painter.drawLine(QPointF(16, 27), QPointF(16, tip + 1));
        painter.drawPolyline(Canvas::points(
            {QPointF(16 - wing, tip + wing), QPointF(16, tip), QPointF(16 + wing, tip + wing)}));
        if (withBar)
            painter.drawLine(QPointF(7, 5), QPointF(25, 5));
    };
}

void drawRefresh(QPainter& painter, const QColor& ink)
{
    const QPointF centre(16, 16);
    const qreal radius = 9.5;
    // Clockwise from three o'clock round to twelve; the head closes most of
    // the gap. The button spins this image, so it stays centred.
    const qreal startAngle = 20;
    const qreal sweep = -290;
    QPainterPath arc;
    const QRectF box(centre.x() - radius, centre.y() - radius, 2 * radius, 2 * radius);
    arc.arcMoveTo(box, startAngle);
    arc.arcTo(box, startAngle, sweep);
    painter.drawPath(arc);

    // A solid head at twelve o'clock pointing along the circle.
    const qreal end = qDegreesToRadians(startAngle + sweep);
    const QPointF point(centre.x() + radius * qCos(end), centre.y() - radius * qSin(end));
    const QPointF along(qSin(end), qCos(end)); // direction of clockwise travel on screen
    const QPointF across(-along.y(), along.x());
    const QPointF base = point - along * 1.5;
    painter.setPen(Canvas::pen(ink, 1.5));
    painter.setBrush(ink);
    painter.drawPolygon(Canvas::points({point + along * 6.0, base + across * 5.0, base - across * 5.0}));
}

} // namespace

void addArrowIcons(Canvas::Catalogue& images)
{
    Canvas::addThemed(images, QStringLiteral("graphics/up-%1.png"), arrow(true, false));
    Canvas::addThemed(images, QStringLiteral("graphics/down-%1.png"), arrow(false, false));
    Canvas::addThemed(images, QStringLiteral("graphics/top-%1.png"), arrow(true, true));
    Canvas::addThemed(images, QStringLiteral("graphics/bottom-%1.png"), arrow(false, true));
    // The refresh button picks "refresh_dark" for dark backgrounds, so that one
    // is drawn light, like the themed "-dark" icons.
    Canvas::addThemed(images, QStringLiteral("graphics/refresh_%1.png"), drawRefresh);
}
