// The line drawing shown, faded, on the empty editor page.
#include "painters.h"

#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int chartPixels = 600;
constexpr qreal chartRadius = 286;

// Maps a point of the reflection-coefficient plane (unit disc) to pixels.
QPointF toPixels(qreal u, qreal v)
{
    return QPointF(chartPixels / 2.0 + chartRadius * u, chartPixels / 2.0 - chartRadius * v);
}

QRectF circleBox(qreal u, qreal v, qreal radius)
{
    const QPointF centre = toPixels(u, v);
    const qreal r = radius * chartRadius;
    return QRectF(centre.x() - r, centre.y() - r, 2 * r, 2 * r);
}

void drawSmithChart(QPainter& painter)
{
    // Mid grey reads on light and dark pages alike once the page fades it.
    const QColor ink(128, 132, 138);
    const QRectF disc = circleBox(0, 0, 1);
    QPainterPath clip;
    clip.addEllipse(disc);
    painter.setClipPath(clip);

    // Constant resistance r: circle centred at (r/(1+r), 0) with radius 1/(1+r).
    const auto resistance = [&](qreal r) {
        painter.drawEllipse(circleBox(r / (1 + r), 0, 1 / (1 + r)));
    };
    // Constant reactance x: circle centred at (1, 1/x) with radius 1/|x|.
    const auto reactance = [&](qreal x) {
        painter.drawEllipse(circleBox(1, 1 / x, 1 / qAbs(x)));
    };

    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(ink.red(), ink.green(), ink.blue(), 110), 1.25));
    for (const qreal r : {0.1, 0.3, 0.4, 0.7, 1.5, 3.0, 10.0})
        resistance(r);
    for (const qreal x : {0.1, 0.3, 0.4, 0.7, 1.5, 3.0, 10.0}) {
        reactance(x);
        reactance(-x);
    }
    painter.setPen(QPen(ink, 2.5));
    for (const qreal r : {0.2, 0.5, 1.0, 2.0, 5.0})
        resistance(r);
    for (const qreal x : {0.2, 0.5, 1.0, 2.0, 5.0}) {
        reactance(x);
        reactance(-x);
    }
    painter.drawLine(toPixels(-1, 0), toPixels(1, 0));

    painter.setClipping(false);
    painter.setPen(QPen(ink, 5));
    painter.drawEllipse(disc);
    // The matched centre point.
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink);
    painter.drawEllipse(toPixels(0, 0), 5, 5);
}

} // namespace

void addSmithChart(Canvas::Catalogue& images)
{
    images.insert(QStringLiteral("graphics/smith_chart.png"),
                  [] { return Canvas::paint(chartPixels, chartPixels, drawSmithChart); });
}
