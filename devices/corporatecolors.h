#pragma once

#include <QColor>

// The maker's signal colours: success, warning or in progress, error.
inline const QColor CORPORATE_GREEN(0, 185, 112);
inline const QColor CORPORATE_YELLOW(249, 200, 14);
inline const QColor CORPORATE_RED(217, 30, 42);
