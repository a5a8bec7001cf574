// Themed tool icons of the device and action context menus.
#include "painters.h"

#include <QPainter>
#include <QPainterPath>

QImage paintLogs(Canvas::Theme theme)
{
    QImage image = Canvas::blankIcon();
    QPainter painter;
    Canvas::beginIcon(painter, image);
    painter.setPen(Canvas::pen(Canvas::ink(theme)));
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
    painter.setPen(Canvas::pen(Canvas::ink(theme), 2.5));
    painter.drawLine(QPointF(11, 15.5), QPointF(21, 15.5));
    painter.drawLine(QPointF(11, 20), QPointF(21, 20));
    painter.drawLine(QPointF(11, 24.5), QPointF(17, 24.5));
    painter.end();
    return image;
}

QImage paintCorvane(Canvas::Theme theme)
{
    QImage image = Canvas::blankIcon();
    QPainter painter;
    Canvas::beginIcon(painter, image);
    const QColor ink = Canvas::ink(theme);
    // A terminal window: a title band, then a prompt and a cursor.
    painter.setPen(Canvas::pen(ink));
    painter.drawRoundedRect(QRectF(3.5, 5.5, 25, 21), 3, 3);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink);
    painter.drawRect(QRectF(3.5, 5.5, 25, 4.5));
    painter.setPen(Canvas::pen(ink));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolyline(Canvas::points({QPointF(9, 14.5), QPointF(13, 18), QPointF(9, 21.5)}));
    painter.drawLine(QPointF(16, 21.5), QPointF(22, 21.5));
    painter.end();
    return image;
}

QImage paintRun(Canvas::Theme theme)
{
    QImage image = Canvas::blankIcon();
    QPainter painter;
    Canvas::beginIcon(painter, image);
    const QColor ink = Canvas::ink(theme);
    // Round joins on the outline soften the corners of the play triangle; it
    // sits a little right of centre so that it looks centred.
    painter.setPen(Canvas::pen(ink));
    painter.setBrush(ink);
    painter.drawPolygon(Canvas::points({QPointF(10, 5.5), QPointF(26.5, 16), QPointF(10, 26.5)}));
    painter.end();
    return image;
}

QImage paintMagnifyingGlass(Canvas::Theme theme)
{
    QImage image = Canvas::blankIcon();
    QPainter painter;
    Canvas::beginIcon(painter, image);
    const QColor ink = Canvas::ink(theme);
    painter.setPen(Canvas::pen(ink));
    painter.drawEllipse(QPointF(13.5, 13.5), 8.5, 8.5);
    painter.setPen(Canvas::pen(ink, 4.5));
    painter.drawLine(QPointF(20.5, 20.5), QPointF(26.5, 26.5));
    painter.end();
    return image;
}

QImage paintChip(Canvas::Theme theme)
{
    QImage image = Canvas::blankIcon();
    QPainter painter;
    Canvas::beginIcon(painter, image);
    const QColor ink = Canvas::ink(theme);
    // A package with three pins a side and the pin-one mark.
    painter.setPen(Canvas::pen(ink));
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
    painter.end();
    return image;
}

QImage paintCheckboxUnchecked(Canvas::Theme theme)
{
    QImage image = Canvas::blankIcon();
    QPainter painter;
    Canvas::beginIcon(painter, image);
    painter.setPen(Canvas::pen(Canvas::ink(theme)));
    painter.drawRoundedRect(QRectF(5.5, 5.5, 21, 21), 4, 4);
    painter.end();
    return image;
}

QImage paintCheckboxChecked(Canvas::Theme theme)
{
    QImage image = Canvas::blankIcon();
    QPainter painter;
    Canvas::beginIcon(painter, image);
    const QColor ink = Canvas::ink(theme);
    // A filled box with the tick cut out, so checked and unchecked differ at a
    // glance even at menu size.
    painter.setPen(Canvas::pen(ink));
    painter.setBrush(ink);
    painter.drawRoundedRect(QRectF(5.5, 5.5, 21, 21), 4, 4);
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.setPen(Canvas::pen(Qt::black, 3.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolyline(Canvas::points({QPointF(10.5, 16.5), QPointF(14.5, 20.5), QPointF(21.5, 11.5)}));
    painter.end();
    return image;
}

QImage paintEraser(Canvas::Theme theme)
{
    QImage image = Canvas::blankIcon();
    QPainter painter;
    Canvas::beginIcon(painter, image);
    const QColor ink = Canvas::ink(theme);
    // A tilted eraser whose rubber end is filled, resting on a line.
    painter.setPen(Canvas::pen(ink));
    painter.drawLine(QPointF(15, 27.5), QPointF(28, 27.5));
    painter.save();
    painter.translate(17, 14);
    painter.rotate(-45);
    const QRectF body(-12, -6, 24, 12);
    painter.drawRoundedRect(body, 2, 2);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink);
    painter.drawRoundedRect(QRectF(body.left(), body.top(), 9, body.height()), 2, 2);
    painter.drawRect(QRectF(body.left() + 4, body.top(), 5, body.height()));
    painter.restore();
    painter.end();
    return image;
}
