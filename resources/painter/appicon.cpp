// The application icon: a circuit-trace "H" whose three rungs carry the
// status colours, on a slate tile; and its 31 October pumpkin variant.
#include "painters.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>

namespace {

constexpr int iconSize = 256;

struct MarkStyle
{
    QColor trace;
    QColor padHole;
    QColor dotRing;
};

// The mark on a 256 grid: two stems ending in through-hole pads, bridged by
// three traces that each carry one status light, like devices run side by side.
// With grow > 0 every shape is widened by that much on each side, which gives
// the carved edge of the pumpkin variant.
void paintMark(QPainter& painter, const MarkStyle& style, qreal grow = 0)
{
    const qreal left = 78;
    const qreal right = 178;
    const qreal top = 66;
    const qreal bottom = 190;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(Canvas::pen(style.trace, 20 + 2 * grow));
    painter.drawLine(QPointF(left, top), QPointF(left, bottom));
    painter.drawLine(QPointF(right, top), QPointF(right, bottom));
    const qreal rungs[] = {92, 128, 164};
    painter.setPen(Canvas::pen(style.trace, 9 + 2 * grow));
    for (const qreal y : rungs)
        painter.drawLine(QPointF(left, y), QPointF(right, y));

    painter.setPen(Qt::NoPen);
    for (const QPointF& pad :
         {QPointF(left, top), QPointF(right, top), QPointF(left, bottom), QPointF(right, bottom)}) {
        painter.setBrush(style.trace);
        painter.drawEllipse(pad, 22 + grow, 22 + grow);
        if (grow == 0) {
            painter.setBrush(style.padHole);
            painter.drawEllipse(pad, 8.5, 8.5);
        }
    }

    const QColor lights[] = {Canvas::green(), Canvas::yellow(), Canvas::red()};
    const qreal lightX[] = {110, 128, 146};
    for (int i = 0; i < 3; ++i) {
        const QPointF centre(lightX[i], rungs[i]);
        painter.setBrush(grow == 0 ? style.dotRing : style.trace);
        painter.drawEllipse(centre, 15 + grow, 15 + grow);
        if (grow == 0) {
            painter.setBrush(lights[i]);
            painter.drawEllipse(centre, 11, 11);
        }
    }
}

void drawAppIcon(QPainter& painter)
{
    const QRectF tile(10, 10, 236, 236);
    QLinearGradient slate(tile.topLeft(), tile.bottomLeft());
    slate.setColorAt(0, QColor(0x3a, 0x47, 0x52));
    slate.setColorAt(1, QColor(0x1e, 0x26, 0x2d));
    painter.setPen(Qt::NoPen);
    painter.setBrush(slate);
    painter.drawRoundedRect(tile, 50, 50);
    painter.setPen(QPen(QColor(255, 255, 255, 38), 3));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(tile.adjusted(1.5, 1.5, -1.5, -1.5), 48.5, 48.5);

    paintMark(painter, {QColor(0xe4, 0xe8, 0xec), QColor(0x26, 0x30, 0x38), QColor(0x26, 0x30, 0x38)});
}

void drawAppIconPumpkin(QPainter& painter)
{
    // The stem first, so the body overlaps its foot.
    QPainterPath stem;
    stem.moveTo(118, 52);
    stem.cubicTo(118, 36, 124, 22, 142, 14);
    stem.lineTo(150, 26);
    stem.cubicTo(140, 32, 138, 42, 140, 54);
    stem.closeSubpath();
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0x4d, 0x6b, 0x2a));
    painter.drawPath(stem);

    // The body: overlapping lobes, outer ones darker for roundness.
    const QRectF lobes[] = {QRectF(14, 50, 132, 190), QRectF(110, 50, 132, 190), QRectF(46, 44, 164, 200)};
    const QColor lobeLight[] = {QColor(0xf3, 0x8b, 0x1f), QColor(0xf3, 0x8b, 0x1f), QColor(0xfb, 0xa2, 0x32)};
    const QColor lobeDark[] = {QColor(0xb8, 0x54, 0x0b), QColor(0xb8, 0x54, 0x0b), QColor(0xcf, 0x66, 0x10)};
    for (int i = 0; i < 3; ++i) {
        QRadialGradient shade(lobes[i].center() - QPointF(0, lobes[i].height() * 0.15),
                              lobes[i].width() * 0.75);
        shade.setColorAt(0, lobeLight[i]);
        shade.setColorAt(1, lobeDark[i]);
        painter.setBrush(shade);
        painter.setPen(QPen(QColor(0x8a, 0x3c, 0x06, 150), 2.5));
        painter.drawEllipse(lobes[i]);
    }

    // Carved: the mark glows candle yellow out of its dark cut edge.
    const QColor cut(0x5a, 0x24, 0x04);
    painter.translate(128, 150);
    painter.scale(0.84, 0.84);
    painter.translate(-128, -128);
    paintMark(painter, {cut, cut, cut}, 5);
    paintMark(painter, {QColor(0xff, 0xd8, 0x5c), cut, cut});
}

} // namespace

void addAppIcons(Canvas::Catalogue& images)
{
    images.insert(QStringLiteral("icons/Harnwick256.png"),
                  [] { return Canvas::paint(iconSize, iconSize, drawAppIcon); });
    images.insert(QStringLiteral("icons/Harnwick256-pumpkin.png"),
                  [] { return Canvas::paint(iconSize, iconSize, drawAppIconPumpkin); });
}
