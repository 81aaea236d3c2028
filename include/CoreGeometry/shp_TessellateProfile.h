// shp_TessellateProfile.h: points along the profile of an analytic rigid surface
#pragma once

#include <CoreGeometry/shp_AnalyticSurface.h>
#include <array>
#include <vector>

/// A point of a profile in its plane.
using shp_ProfilePoint = std::array<double, 2>;
using shp_ProfileLine = std::vector<shp_ProfilePoint>;

/// An extra for whoever draws a surface: the profile as open polygons, one from each START on. Nothing is
/// stored of it and nothing in the library needs it.
///
/// A circle goes the shorter way round its centre from the end of the segment before it, half a circle
/// counter-clockwise; where the two radii differ, the radius grows evenly between them. A parabola is the one
/// that touches both lines to its control point at its ends. The profile is drawn with sharp corners, without
/// its fillets. A profile that does not begin with START begins where its first segment ends. Of a circle or
/// parabola with a coordinate that is not finite only the end remains.
///
/// Units      model length, x and y of the stored points.
/// Tolerance  no point of a curve is farther from the polygon than chordTolerance, as long as a segment needs
///            no more than 65536 pieces for that; no piece turns by more than a right angle. Ends of segments
///            are the stored points.
/// Errors     nex_OutOfRangeException for a segment without its points; nex_AssertionException for a
///            tolerance that is not positive. Segments of an unknown type add nothing.
CORE_GEOMETRY_API std::vector<shp_ProfileLine> shp_TessellateProfile(const shp_AnalyticSurface& surface,
                                                                     double chordTolerance);
