// gsl_StLine.h: infinite straight line
#pragma once

#include <CoreGeometry/gsl_PersistentVector.h>
#include <CoreGeometry/gsl_Point.h>
#include <vector>

/// How a line was obtained. A valid method follows the invalid marker: test for equality only.
enum class gsl_LineMethod : int {
  FROM_PNT_VECTOR,
  FROM_EDGE,
  FROM_REVFACE,
  FROM_DATUM_AXIS,
  FROM_ELEM_EDGE,
  FROM_PNT_PNT,
  STLINE_INVALID,
  FROM_DATUM_CSYS
};

/// Line through a point along a direction, which is not normalised; with the record of how it was obtained.
///
/// Units      model length.
/// Empty      the default line runs from the origin along z and is not ok (method STLINE_INVALID).
/// Tolerance  tol and rtol stand for gsl_Util's linear and relative tolerance.
/// Errors     none. A zero direction is parallel to nothing.
/// Threads    a value.
class CORE_GEOMETRY_API gsl_StLine {
public:
  gsl_StLine() noexcept = default;
  gsl_StLine(const gsl_Point& point, const gsl_Vector& direction) noexcept;
  gsl_StLine(const gsl_Point& p1, const gsl_Point& p2) noexcept; ///< direction p2 - p1

  // ask: geometry
  const gsl_Point& PointOn() const noexcept { return point_; }
  const gsl_Vector& Direction() const noexcept { return direction_; }
  bool IsParallel(const gsl_StLine& other) const noexcept;
  bool IsParallel(const gsl_Plane& plane) const noexcept;
  /// Distance of the two lines; 0 when the cross product of the directions as they are is shorter than tol,
  /// parallel lines among them.
  double GetDistance(const gsl_StLine& other) const noexcept;
  /// Distance of the line's point from a parallel plane; 0 from any other.
  double GetDistance(const gsl_Plane& plane) const noexcept;
  bool IsSkewed(const gsl_StLine& other) const noexcept; ///< distance > tol
  /// See gsl_Point::RayIntersect, from the line's point.
  bool Intersect(const gsl_Plane& plane, gsl_Point& out) const noexcept;
  /// out is the point of this line closest to the other, gap the distance that remains. Skewed lines: false,
  /// nothing is written; parallel ones (unit directions within 1e-5): false, only gap is written. Directions
  /// so short that the lines count as parallel for GetDistance give true with any gap.
  bool Intersect(const gsl_StLine& other, gsl_Point& out, double& gap) const noexcept;
  /// The point s along the direction; false for negative s. A zero direction gives the line's point.
  bool PointAtDistance(double s, gsl_Point& out) const noexcept;

  // ask: construction
  gsl_LineMethod Method() const noexcept { return method_; }
  bool IsOk() const noexcept { return ok_; }
  bool IsFlipped() const noexcept { return flip_; }
  const std::vector<int>& ParentIds() const noexcept { return parentIds_; }
  int OwnerFeatId() const noexcept { return ownerFeatId_; }
  const cls_Uid& Uid() const noexcept { return uid_; }

  // change
  /// Negates the direction; the stored flip flag belongs to whoever built the line and stays.
  void FlipDirection() noexcept { direction_.Vector().Negate(); }
  void SetMethod(gsl_LineMethod method) noexcept { method_ = method; }
  void SetOk(bool ok) noexcept { ok_ = ok; }
  void SetFlipped(bool flip) noexcept { flip_ = flip; }
  void SetParentIds(std::vector<int> ids) noexcept { parentIds_ = std::move(ids); }
  void SetOwnerFeatId(int id) noexcept { ownerFeatId_ = id; }

private:
  gsl_Point point_;
  gsl_PersistentVector direction_;
  gsl_LineMethod method_ = gsl_LineMethod::STLINE_INVALID;
  bool flip_ = false;
  bool ok_ = false;
  std::vector<int> parentIds_;
  int ownerFeatId_ = 0;
  cls_OwnUid uid_;
};

/// The directions pass gsl_Vector::IsOn. False when a line is missing.
CORE_GEOMETRY_API bool gsl_LinesAreParallel(const gsl_StLine* a, const gsl_StLine* b) noexcept;
/// gsl_StLine::IsSkewed. False when a line is missing.
CORE_GEOMETRY_API bool gsl_LinesAreSkew(const gsl_StLine* a, const gsl_StLine* b) noexcept;
