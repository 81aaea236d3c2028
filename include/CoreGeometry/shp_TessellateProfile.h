// shp_TessellateProfile.h: points along the profile of an analytic rigid surface
#pragma once

#include <CoreGeometry/shp_AnalyticSurface.h>
#include <array>
#include <vector>

/// A point of a profile in its plane.
using shp_ProfilePoint = std::array<double, 2>;
using shp_ProfileLine = std::vector<shp_ProfilePoint>;

/// For programs that draw a surface: the profile as open polygons, a new one at each START. The result is not
/// stored, and nothing else in the library uses it.
///
/// A circle goes the shorter way round its centre from the end of the previous segment, half a circle
/// counter-clockwise; where the two radii differ, the radius changes linearly between them. A parabola is
/// tangent, at its ends, to the lines to its control point. The profile is drawn with sharp corners, without
/// its fillets. A profile that does not begin with START begins where its first segment ends. Of a circle or
/// parabola with a coordinate that is not finite only the end point is kept.
///
/// Units      model length, x and y of the stored points.
/// Tolerance  no point of a curve is farther from the polygon than chordTolerance, as long as a segment needs
///            no more than 65536 pieces for that; no piece turns by more than a right angle. Ends of segments
///            are the stored points.
/// Errors     nex_OutOfRangeException for a segment without its points; nex_AssertionException for a
///            tolerance that is not positive. Segments of an unknown type add nothing.
CORE_GEOMETRY_API std::vector<shp_ProfileLine> shp_TessellateProfile(const shp_AnalyticSurface& surface,
                                                                     double chordTolerance);
