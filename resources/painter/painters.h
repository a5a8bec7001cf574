#pragma once

#include "canvas.h"

#include <QImage>

// One function per image; each returns the finished image.

// Themed toolbar and menu icons (arrowicons.cpp, toolicons.cpp).
QImage paintUp(Canvas::Theme theme);
QImage paintDown(Canvas::Theme theme);
QImage paintTop(Canvas::Theme theme);
QImage paintBottom(Canvas::Theme theme);
QImage paintRefresh(Canvas::Theme theme);
QImage paintLogs(Canvas::Theme theme);
QImage paintCorvane(Canvas::Theme theme);
QImage paintRun(Canvas::Theme theme);
QImage paintMagnifyingGlass(Canvas::Theme theme);
QImage paintChip(Canvas::Theme theme);
QImage paintCheckboxChecked(Canvas::Theme theme);
QImage paintCheckboxUnchecked(Canvas::Theme theme);
QImage paintEraser(Canvas::Theme theme);

// Coloured marks that read on any background (markicons.cpp).
QImage paintAdd();
QImage paintRemove();
QImage paintDot(const QColor& color);

// Large images (smithchart.cpp, appicon.cpp).
QImage paintSmithChart();
QImage paintAppIcon();
QImage paintAppIconPumpkin();
