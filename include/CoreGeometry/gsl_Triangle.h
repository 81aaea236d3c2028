// gsl_Triangle.h: triangle with its normal
#pragma once

#include <CoreGeometry/gsl_BBox.h>
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/gsl_Vector.h>

/// Three vertices and their unit normal, right-handed in their order.
///
/// Units      model length.
/// Empty      the default triangle has all vertices at the origin; colinear vertices have a zero normal.
/// Tolerance  tol stands for gsl_Util's linear tolerance.
/// Errors     none. With a zero normal every point projects into the triangle and none is on it.
/// Threads    a value: concurrent reads are safe, and copies are independent.
class CORE_GEOMETRY_API gsl_Triangle {
public:
  gsl_Triangle() noexcept;
  gsl_Triangle(const gsl_Point& p1, const gsl_Point& p2, const gsl_Point& p3) noexcept;

  // ask
  const gsl_Point& Vertex(unsigned i) const noexcept { return vertex_[i < 2 ? i : 2]; } ///< i = 0, 1, 2
  const gsl_Vector& Normal() const noexcept { return normal_; }
  bool Contains(const gsl_Point& p) const noexcept; ///< within tol of the plane, and ContainsProjectedPoint
  /// No tolerance; edges are inside, and so is a point with a NaN.
  bool ContainsProjectedPoint(const gsl_Point& p) const noexcept;
  gsl_BBox GetBBox() const noexcept;
  void GetExtent(double* min, double* max) const noexcept; ///< three coordinates each
  /// Projects the vertices along the direction onto the plane. False, and projected is untouched, when the
  /// direction is shorter than tol or lies in the plane. projected may be this triangle.
  bool Project(const gsl_Plane& plane, const gsl_Vector& direction, gsl_Triangle& projected) const noexcept;

  // change
  void Reverse() noexcept; ///< swaps the second and third vertex

private:
  gsl_Point vertex_[3];
  gsl_Vector normal_;
};
