// pic_Datums.h: what is drawn of a datum
#pragma once

#include <CoreGeometry/dtu_Datum.h>
#include <CoreGeometry/pic_Canvas.h>
#include <span>
#include <vector>

/// The colours of x, y and z.
inline constexpr pic_Colour pic_kAxisColours[] = {{0.80, 0.15, 0.15}, {0.10, 0.55, 0.15}, {0.15, 0.30, 0.80}};

struct pic_DatumLine {
  pic_Vector from, to; ///< in model space
  pic_Colour colour;
};

/// Points as crosses, axes and planes as far as the box goes, planes with their normal, systems with their three
/// axes, in sizes that fit the box with all datums. Of what is not finite, and of axes without a direction, there is nothing.
std::vector<pic_DatumLine> pic_LinesOf(std::span<const dtu_Datum* const> datums, const gsl_BBox& box);
