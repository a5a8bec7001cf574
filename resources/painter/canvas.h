#pragma once

#include <QColor>
#include <QImage>
#include <QPen>
#include <QPolygonF>

#include <initializer_list>

class QPainter;

// Shared ground rules of the painted images: canvas sizes, the themed inks and
// the stroke style, so every icon family draws with the same weight.
namespace Canvas {

// Small icons are designed on a 32-unit grid and rendered at twice that size;
// Qt scales them down to menu and button sizes.
constexpr int iconPixels = 64;
constexpr qreal iconUnits = 32.0;
// Outline weight on the 32-unit grid: 1.5 px once shown at 16 px.
constexpr qreal strokeWidth = 3.0;

enum class Theme
{
    Light,
    Dark
};

QColor green();
QColor yellow();
QColor red();

// "Light" variants sit on light backgrounds and are drawn dark, "dark"
// variants the other way round.
QColor ink(Theme theme);

// A transparent square canvas of iconPixels.
QImage blankIcon();
QImage blank(int width, int height);

// Antialiased painter on image, scaled so that the image is iconUnits wide.
void beginIcon(QPainter& painter, QImage& image);

QPen pen(const QColor& color, qreal width = strokeWidth);

// Qt 5 polygons lack a list constructor.
QPolygonF points(std::initializer_list<QPointF> list);

} // namespace Canvas
