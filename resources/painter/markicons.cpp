// Coloured marks: they keep their colours on light and dark backgrounds.
#include "painters.h"

#include <QLineF>
#include <QPainter>

namespace {

// Two strokes, wider than an outline so the mark reads at a glance.
std::function<QImage()> strokes(const QColor& color, const QLineF& first, const QLineF& second)
{
    return [=] {
        return Canvas::paintIcon(color, [&](QPainter& painter, const QColor& ink) {
            painter.setPen(Canvas::pen(ink, 4.5));
            painter.drawLine(first);
            painter.drawLine(second);
        });
    };
}

// Flat fill so the centre carries the exact status colour; the darker rim
// keeps the yellow dot visible on white.
std::function<QImage()> dot(const QColor& color)
{
    return [color] {
        return Canvas::paint(32, 32, [&](QPainter& painter) {
            painter.setPen(QPen(color.darker(125), 1.5));
            painter.setBrush(color);
            painter.drawEllipse(QPointF(16, 16), 13, 13);
        });
    };
}

} // namespace

void addMarkIcons(Canvas::Catalogue& images)
{
    images.insert(QStringLiteral("graphics/add.png"),
                  strokes(Canvas::green(), QLineF(16, 6, 16, 26), QLineF(6, 16, 26, 16)));
    images.insert(QStringLiteral("graphics/remove.png"),
                  strokes(Canvas::red(), QLineF(8.5, 8.5, 23.5, 23.5), QLineF(23.5, 8.5, 8.5, 23.5)));
    images.insert(QStringLiteral("graphics/dot-green.png"), dot(Canvas::green()));
    images.insert(QStringLiteral("graphics/dot-yellow.png"), dot(Canvas::yellow()));
    images.insert(QStringLiteral("graphics/dot-red.png"), dot(Canvas::red()));
}
