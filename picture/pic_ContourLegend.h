// pic_ContourLegend.h: what the colours of values mean
#pragma once

#include <CoreGeometry/pic_Canvas.h>
#include <CoreGeometry/pic_Field.h>
#include <string>

/// Pixels.
struct pic_Area {
  double left, bottom, right, top;
};

/// For text of a height in pixels.
double pic_ContourLegendWidth(const pic_Results& results, double height);
/// From the top: what is shown, where it is largest and least, the colours with their bounds, greys.
void pic_DrawContourLegend(pic_Canvas& canvas, const pic_Results& results, const pic_Area& area,
                           double height);
/// "deformed x 20", empty when nothing is displaced.
std::string pic_FactorText(const pic_Results& results);
