#pragma once

#include <QColor>
#include <QImage>
#include <QMap>
#include <QPen>
#include <QPolygonF>
#include <QString>

#include <functional>
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

QPen pen(const QColor& color, qreal width = strokeWidth);

// Qt 5 polygons lack a list constructor.
QPolygonF points(std::initializer_list<QPointF> list);

using Drawing = std::function<void(QPainter& painter)>;
// An icon drawing gets the painter with the outline pen already set in `ink`.
using IconDrawing = std::function<void(QPainter& painter, const QColor& ink)>;

// A transparent square image `pixels` wide, drawn antialiased on a grid `units` wide.
QImage paint(int pixels, qreal units, const Drawing& draw);
// A small icon on the 32-unit grid.
QImage paintIcon(const QColor& ink, const IconDrawing& draw);

// The painted images by file name below the output folder ("graphics/up-light.png").
using Catalogue = QMap<QString, std::function<QImage()>>;

// Adds both variants of a themed icon; `pattern` takes "light" or "dark" for %1.
void addThemed(Catalogue& images, const QString& pattern, const IconDrawing& draw);

} // namespace Canvas
