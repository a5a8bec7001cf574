#pragma once

#include "canvas.h"

// Each image family adds its images to the catalogue under their file names.
void addArrowIcons(Canvas::Catalogue& images); // arrowicons.cpp: moving actions, refresh
void addToolIcons(Canvas::Catalogue& images);  // toolicons.cpp: themed menu and toolbar icons
void addMarkIcons(Canvas::Catalogue& images);  // markicons.cpp: coloured marks and status dots
void addSmithChart(Canvas::Catalogue& images); // smithchart.cpp
void addAppIcons(Canvas::Catalogue& images);   // appicon.cpp
