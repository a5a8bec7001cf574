// Themed tool icons of the device and action context menus.
#include "painters.h"

#include <QPainter>
#include <QPainterPath>

#include <utility>

namespace {

void drawLogs(QPainter& painter, const QColor& ink)
{
    // A page with a folded corner and lines of text.
    QPainterPath page;
    page.moveTo(19, 3.5);
    page.lineTo(8, 3.5);
    page.quadTo(6, 3.5, 6, 5.5);
    page.lineTo(6, 26.5);
    page.quadTo(6, 28.5, 8, 28.5);
    page.lineTo(24, 28.5);
    page.quadTo(26, 28.5, 26, 26.5);
    page.lineTo(26, 10.5);
    page.closeSubpath();
    painter.drawPath(page);
    painter.drawPolyline(Canvas::points({QPointF(19, 3.5), QPointF(19, 10.5), QPointF(26, 10.5)}));
    painter.setPen(Canvas::pen(ink, 2.5));
    painter.drawLine(QPointF(11, 15.5), QPointF(21, 15.5));
    painter.drawLine(QPointF(11, 20), QPointF(21, 20));
    painter.drawLine(QPointF(11, 24.5), QPointF(17, 24.5));
}

void drawCorvane(QPainter& painter, const QColor& ink)
{
    // A terminal window: a title band, then a prompt and a cursor.
    painter.drawRoundedRect(QRectF(3.5, 5.5, 25, 21), 3, 3);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink);
    painter.drawRect(QRectF(3.5, 5.5, 25, 4.5));
    painter.setPen(Canvas::pen(ink));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolyline(Canvas::points({QPointF(9, 14.5), QPointF(13, 18), QPointF(9, 21.5)}));
    painter.drawLine(QPointF(16, 21.5), QPointF(22, 21.5));
}

void drawRun(QPainter& painter, const QColor& ink)
{
    // Round joins on the outline soften the corners of the play triangle; it
    // sits a little right of centre so that it looks centred.
    painter.setBrush(ink);
    painter.drawPolygon(Canvas::points({QPointF(10, 5.5), QPointF(26.5, 16), QPointF(10, 26.5)}));
}

void drawMagnifyingGlass(QPainter& painter, const QColor& ink)
{
    painter.drawEllipse(QPointF(13.5, 13.5), 8.5, 8.5);
    painter.setPen(Canvas::pen(ink, 4.5));
    painter.drawLine(QPointF(20.5, 20.5), QPointF(26.5, 26.5));
}

void drawChip(QPainter& painter, const QColor& ink)
{
    // A package with three pins a side and the pin-one mark.
    painter.drawRoundedRect(QRectF(8.5, 8.5, 15, 15), 2, 2);
    painter.setPen(Canvas::pen(ink, 2));
    for (const qreal at : {12.0, 16.0, 20.0}) {
        painter.drawLine(QPointF(at, 3.5), QPointF(at, 6.5));
        painter.drawLine(QPointF(at, 25.5), QPointF(at, 28.5));
        painter.drawLine(QPointF(3.5, at), QPointF(6.5, at));
        painter.drawLine(QPointF(25.5, at), QPointF(28.5, at));
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink);
    painter.drawEllipse(QPointF(13, 13), 1.75, 1.75);
}

void drawCheckboxUnchecked(QPainter& painter, const QColor&)
{
    painter.drawRoundedRect(QRectF(5.5, 5.5, 21, 21), 4, 4);
}

void drawCheckboxChecked(QPainter& painter, const QColor& ink)
{
    // A filled box with the tick cut out, so checked and unchecked differ at a
    // glance even at menu size.
    painter.setBrush(ink);
    drawCheckboxUnchecked(painter, ink);
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.setPen(Canvas::pen(Qt::black, 3.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolyline(Canvas::points({QPointF(10.5, 16.5), QPointF(14.5, 20.5), QPointF(21.5, 11.5)}));
}

void drawEraser(QPainter& painter, const QColor& ink)
{
    // A tilted eraser whose rubber end is filled, resting on a line.
    painter.drawLine(QPointF(15, 27.5), QPointF(28, 27.5));
    painter.translate(17, 14);
    painter.rotate(-45);
    const QRectF body(-12, -6, 24, 12);
    painter.drawRoundedRect(body, 2, 2);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink);
    painter.drawRoundedRect(QRectF(body.left(), body.top(), 9, body.height()), 2, 2);
    painter.drawRect(QRectF(body.left() + 4, body.top(), 5, body.height()));
}

} // namespace

void addToolIcons(Canvas::Catalogue& images)
{
    using Icon = std::pair<const char*, void (*)(QPainter&, const QColor&)>;
    for (const Icon& icon : {Icon{"logs", drawLogs}, Icon{"corvane", drawCorvane}, Icon{"run", drawRun},
                             Icon{"magnifying-glass", drawMagnifyingGlass}, Icon{"chip", drawChip},
                             Icon{"checkbox-checked", drawCheckboxChecked},
                             Icon{"checkbox-unchecked", drawCheckboxUnchecked}, Icon{"eraser", drawEraser}})
        Canvas::addThemed(images, QStringLiteral("graphics/%1-%2.png").arg(QLatin1String(icon.first)),
                          icon.second);
}
