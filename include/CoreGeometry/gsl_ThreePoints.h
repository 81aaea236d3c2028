// gsl_ThreePoints.h: normal, circle and frame of three points
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>

class gsl_Point;
class gsl_Vector;

/// n becomes the three-point normal of gsl_Vector; true when it is longer than gsl_Util's linear tolerance,
/// that is when the points are not colinear.
CORE_GEOMETRY_API bool gsl_NormalToThreePoints(const gsl_Point& p1, const gsl_Point& p2, const gsl_Point& p3,
                                               gsl_Vector& n) noexcept;

/// Centre of the circle through three points and the unit normal of its plane. False for colinear points:
/// the centre is then p1 and the normal the zero vector.
CORE_GEOMETRY_API bool gsl_ComputeCircumCircle(const gsl_Point& p1, const gsl_Point& p2, const gsl_Point& p3,
                                               gsl_Point& centre, gsl_Vector& normal) noexcept;

/// A right-handed frame from three points. Origin at p1 (with its uid), x towards p2, z normal to the plane;
/// or, if circular, origin at the centre of the circle through the points, x towards p1, z the circle's
/// normal. Colinear points are not detected: some of the axes are then zero vectors.
CORE_GEOMETRY_API void gsl_Transcribe3PointsIntoOriginAndAxes(bool circular, const gsl_Point& p1,
                                                              const gsl_Point& p2, const gsl_Point& p3,
                                                              gsl_Point& origin, gsl_Vector& x, gsl_Vector& y,
                                                              gsl_Vector& z) noexcept;
